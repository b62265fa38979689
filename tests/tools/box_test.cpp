#include "tests/tools/child.h"

#include <list>

using namespace testing_support;

namespace {

TEST(DtcctlBoxTest, ShowsWhatTheOtherSubcommandsDo)
{
    EXPECT_THAT(dtcctl("box --new"), HasSubstr(" is new\n"));
    std::string const fresh = dtcctl("box --json");
    EXPECT_THAT(fresh, AllOf(HasSubstr(R"("leds":["released","released","released"])"),
                             HasSubstr(R"("board_revision":2,"fpga_revision":529,)"),
                             HasSubstr(R"("eeprom":{"erased":true,"text":[]})"),
                             HasSubstr(R"("transfers":[],"commands":[])")));
    for (char const* act : {"led 0 on", "led 1 off", "led 2 toggle", "led 2 blink 1", "reset fpga"})
        dtcctl(act);
    EXPECT_EQ(dtcctl("fpga write 0x06000002 65535"), "0x06000002: 0xffff\n");
    EXPECT_EQ(dtcctl("fpga read 2"), "0x00000002: 0xffff\n");
    dtcctl("fpga write 0 0xffff");
    EXPECT_EQ(dtcctl("fpga read 0"), "0x00000000: 0x0211\n") << "nobody writes the revision";
    dtcctl({"eeprom", "write", "0", fileWith("name=\"box\"\nmode=1\n")});
    EXPECT_THAT(dtcctl("box --json"),
                AllOf(HasSubstr(R"("leds":["on","off","on"])"),
                      HasSubstr(R"("resets":{"fpga":"released","box":"released"})"),
                      HasSubstr(R"("fpga_revision":529)"),
                      HasSubstr(R"({"erased":false,"text":["name=\"box\"","mode=1"]})"),
                      HasSubstr("write eeprom 0x50 66: 00 00 6e 61 6d 65")));
    EXPECT_THAT(dtcctl("box"), HasSubstr("LED 1             off\n"));
    dtcctl("box --new");
    EXPECT_EQ(dtcctl("box --json"), fresh);
}

TEST(DtcctlBoxTest, WritesTheEepromWithoutDamageToItsNeighbours)
{
    dtcctl({"eeprom", "write", "0", fileWith(std::string(192, 'n'))});
    dtcctl({"eeprom", "write", "0x40", fileWith(std::string(70, 'w'))});
    EXPECT_EQ(dtcctl("eeprom read 0 192"),
              std::string(64, 'n') + std::string(70, 'w') + std::string(58, 'n'));
    EXPECT_EQ(dtcctl("eeprom dump 0x38 0x10"),
              "00000038  6e 6e 6e 6e 6e 6e 6e 6e  77 77 77 77 77 77 77 77  |nnnnnnnnwwwwwwww|\n"
              "00000048\n");
    EXPECT_THAT(dtcctl("eeprom dump"), AllOf(HasSubstr("|nnnnnnnnnnnnnnnn|\n*\n00000040  77"),
                                             HasSubstr("|................|\n*\n00004000\n")));
    dtcctl({"eeprom", "write", "16320", fileWith(std::string(65, 'x'))}, 2);
    dtcctl({"eeprom", "write", "16320", fileWith(std::string(64, 'x'))});
    EXPECT_EQ(dtcctl("eeprom read 0x3fff 1"), "x");
}

TEST(DtcctlBoxTest, LeavesALockedBusAlone)
{
    dtcctl("led 0 off");
    std::string const lock = KORVA::DTC::PLATFORM::boxRoot() + "/var/lock/i2c";
    EXPECT_FALSE(fs::exists(lock)) << "it must be given up";
    std::ofstream(lock).put('\n');
    std::list<Child> waiting;
    for (char const* command : {"eeprom dump", "led 0 on", "reset fpga"})
        waiting.emplace_back(commandLine(words(command)));
    EXPECT_EQ(dtcctl("fpga read 2"), "0x00000002: 0x0000\n") << "it needs no lock";
    for (Child& child : waiting) {
        EXPECT_EQ(child.wait(), 1);
        EXPECT_THAT(child.output(), HasSubstr(" : timeout : /var/lock/i2c\n"));
    }
    fs::remove(lock);
    EXPECT_THAT(dtcctl("box --json"), HasSubstr(R"("leds":["off",)"));
}

TEST(DtcctlBoxTest, BlinksAndWatchesUntilInterrupted)
{
    dtcctl("led 0 on");
    Child watching(commandLine({"box", "--watch"}));
    EXPECT_TRUE(watching.waitForOutput("LED 0             on\n"));
    Child blinking(commandLine({"led", "0", "blink", "1000000"}));
    int looks = 0;
    while (dtcctl("box").find("LED 0             off") == std::string::npos && ++looks < 10'000) {
    }
    EXPECT_LT(looks, 10'000);
    blinking.signal(SIGINT);
    EXPECT_EQ(blinking.wait(), 0);
    EXPECT_THAT(dtcctl("box"), HasSubstr("LED 0             on\n")) << "it must end as it began";
    dtcctl("led 0 off");
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
        EXPECT_NE(dtcctl(wrong, 2), "") << wrong << ": it must say why";
    EXPECT_THAT(dtcctl({"eeprom", "write", "32", fileWith("x")}, 2),
                HasSubstr("32: not the beginning of a page, a multiple of 64"));
    EXPECT_THAT(dtcctl("fpga read 0x07000000", 1), HasSubstr("invalid address"));
}

} // namespace
