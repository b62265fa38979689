#include "tests/support/child.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <list>

using testing::AllOf;
using testing::HasSubstr;
using testing_support::Child;
using testing_support::words;

namespace {

std::vector<std::string> commandLine(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), PROGRAM_DIRECTORY "dtcctl");
    return arguments;
}

std::string dtcctl(std::vector<std::string> const& arguments, int status = 0)
{
    Child child(commandLine(arguments));
    EXPECT_EQ(child.wait(), status) << child.output();
    return child.output();
}

std::string writtenFile(std::string const& content)
{
    std::string const name =
        std::string(std::getenv("DTC_BOX_ROOT")) + ".input"; // goes with the box
    std::ofstream(name) << content;
    return name;
}

TEST(DtcctlBoxTest, ShowsWhatTheOtherSubcommandsDo)
{
    EXPECT_THAT(dtcctl({"box", "--new"}), HasSubstr(" is new\n"));
    std::string const fresh = dtcctl({"box", "--json"});
    EXPECT_THAT(fresh, AllOf(HasSubstr(R"("leds":["released","released","released"])"),
                             HasSubstr(R"("board_revision":2,"fpga_revision":529,)"),
                             HasSubstr(R"("eeprom":{"erased":true,"text":[]})"),
                             HasSubstr(R"("transfers":[],"commands":[])")));
    dtcctl({"led", "0", "on"});
    dtcctl({"led", "1", "off"});
    dtcctl({"led", "2", "toggle"});
    dtcctl({"led", "2", "blink", "1"});
    dtcctl({"reset", "fpga"});
    EXPECT_EQ(dtcctl({"fpga", "write", "0x06000000", "65535"}), "0x06000000: 0xffff\n");
    EXPECT_EQ(dtcctl({"fpga", "read", "0"}), "0x00000000: 0xffff\n");
    dtcctl({"eeprom", "write", "0", writtenFile("name=\"box\"\nmode=1\n")});
    EXPECT_THAT(dtcctl({"box", "--json"}),
                AllOf(HasSubstr(R"("leds":["on","off","on"])"),
                      HasSubstr(R"("resets":{"fpga":"released","box":"released"})"),
                      HasSubstr(R"("fpga_revision":65535)"),
                      HasSubstr(R"({"erased":false,"text":["name=\"box\"","mode=1"]})"),
                      HasSubstr("write eeprom 0x50 66: 00 00 6e 61 6d 65")));
    EXPECT_THAT(dtcctl({"box"}), HasSubstr("LED 1             off\n"));
    dtcctl({"box", "--new"});
    EXPECT_EQ(dtcctl({"box", "--json"}), fresh);
}

TEST(DtcctlBoxTest, WritesTheEepromWithoutDamageToItsNeighbours)
{
    dtcctl({"box", "--new"});
    dtcctl({"eeprom", "write", "0", writtenFile(std::string(192, 'n'))});
    dtcctl({"eeprom", "write", "0x40", writtenFile(std::string(70, 'w'))});
    EXPECT_EQ(dtcctl({"eeprom", "read", "0", "192"}),
              std::string(64, 'n') + std::string(70, 'w') + std::string(58, 'n'));
    EXPECT_EQ(dtcctl({"eeprom", "dump", "0x30", "0x28"}),
              "00000030  6e 6e 6e 6e 6e 6e 6e 6e  6e 6e 6e 6e 6e 6e 6e 6e  |nnnnnnnnnnnnnnnn|\n"
              "00000040  77 77 77 77 77 77 77 77  77 77 77 77 77 77 77 77  |wwwwwwwwwwwwwwww|\n"
              "00000050  77 77 77 77 77 77 77 77                           |wwwwwwww|\n"
              "00000058\n");
    EXPECT_THAT(dtcctl({"eeprom", "dump"}), AllOf(HasSubstr("|nnnnnnnnnnnnnnnn|\n*\n00000040  77"),
                                                  HasSubstr("|................|\n*\n00004000\n")));
    dtcctl({"eeprom", "write", "16320", writtenFile(std::string(65, 'x'))}, 2);
    dtcctl({"eeprom", "write", "16320", writtenFile(std::string(64, 'x'))});
    EXPECT_EQ(dtcctl({"eeprom", "read", "0x3fff", "1"}), "x");
}

TEST(DtcctlBoxTest, LeavesALockedBusAlone)
{
    dtcctl({"led", "0", "off"});
    std::string const lock = std::string(std::getenv("DTC_BOX_ROOT")) + "/var/lock/i2c";
    EXPECT_FALSE(std::filesystem::exists(lock)) << "it must be given up";
    std::ofstream(lock).put('\n');
    std::list<Child> waiting;
    for (char const* command : {"eeprom dump", "led 0 on", "reset fpga"})
        waiting.emplace_back(commandLine(words(command)));
    EXPECT_EQ(dtcctl({"fpga", "read", "2"}), "0x00000002: 0x0000\n") << "it needs no lock";
    for (Child& child : waiting) {
        EXPECT_EQ(child.wait(), 1);
        EXPECT_THAT(child.output(), HasSubstr(" : timeout : /var/lock/i2c\n"));
    }
    std::filesystem::remove(lock);
    EXPECT_THAT(dtcctl({"box", "--json"}), HasSubstr(R"("leds":["off",)"));
}

TEST(DtcctlBoxTest, BlinksAndWatchesUntilInterrupted)
{
    dtcctl({"led", "0", "on"});
    Child watching(commandLine({"box", "--watch"}));
    EXPECT_TRUE(watching.waitForOutput("LED 0             on\n"));
    Child blinking(commandLine({"led", "0", "blink", "1000000"}));
    auto const isOff = [] {
        return dtcctl({"box"}).find("LED 0             off") != std::string::npos;
    };
    int looks = 0;
    while (!isOff() && ++looks < 10'000) {
    }
    EXPECT_LT(looks, 10'000);
    blinking.signal(SIGINT);
    EXPECT_EQ(blinking.wait(), 0);
    EXPECT_FALSE(isOff()) << "it must end as it began";
    dtcctl({"led", "0", "off"});
    EXPECT_TRUE(watching.waitForOutput("LED 0             off\n"));
    watching.signal(SIGTERM);
    EXPECT_EQ(watching.wait(), 0);
}

TEST(DtcctlBoxTest, RefusesWrongUse)
{
    for (char const* wrong :
         {"led 3 on", "led 0 on 1", "led 0 blink", "led 0 blink 1000001", "fpga read",
          "fpga read 0x100000000", "fpga read 12z", "fpga read 0x", "fpga write 0 0x10000",
          "eeprom read 0 16385", "eeprom read 16384 0", "eeprom dump 0", "eeprom write 0 /dev/null",
          "reset", "reset box", "box --watch --json", "box --new --json"})
        EXPECT_NE(dtcctl(words(wrong), 2), "") << wrong << ": it must say why";
    EXPECT_THAT(dtcctl({"eeprom", "write", "32", writtenFile("x")}, 2),
                HasSubstr("32: not the beginning of a page, a multiple of 64"));
    EXPECT_THAT(dtcctl({"fpga", "read", "0x07000000"}, 1), HasSubstr("invalid address"));
}

} // namespace
