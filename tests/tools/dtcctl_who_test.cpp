#include "tests/support/child.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

using testing::HasSubstr;

namespace {

std::string who(std::vector<std::string> arguments, int status = 0)
{
    arguments.insert(arguments.begin(), {PROGRAM_DIRECTORY "dtcctl", "who"});
    testing_support::Child child(arguments);
    EXPECT_EQ(child.wait(), status) << child.output();
    return child.output();
}

TEST(DtcctlWhoTest, TellsWhoIsAdmittedAndWhy)
{
    std::string const box = std::getenv("DTC_BOX_ROOT");
    EXPECT_EQ(
        who({"localhost"}),
        "nobody holds dtc_io\n"
        "127.0.0.1        dtc_io    admitted by the pattern \"none\", which is no address and "
        "admits everybody\n"
        "127.0.0.1        dtc_conf  admitted by the pattern \"none\", which is no address and "
        "admits everybody\n");
    std::ofstream(box + "/tmp/ip_client") << "10.0.0.5\n";
    std::fstream(box + "/dev/i2c/eeprom") << "_ipFilter=10.0.0\n" << '\0';
    EXPECT_EQ(who({"skylark0:0x0A000006", "127.0.0.1"}),
              "dtc_io is held by 10.0.0.5\n"
              "10.0.0.6         dtc_io    refused: busy with 10.0.0.5\n"
              "10.0.0.6         dtc_conf  admitted by the pattern \"10.0.0\"\n"
              "127.0.0.1        dtc_io    refused: busy with 10.0.0.5\n"
              "127.0.0.1        dtc_conf  refused: no pattern of _ipFilter matches\n");
    EXPECT_EQ(who({"--json", "10.0.0.5"}),
              R"({"holder":"10.0.0.5","filter":"10.0.0","clients":[{"address":"10.0.0.5",)"
              R"("dtc_io":{"admitted":true,"pattern":"10.0.0","admits_everybody":false},)"
              R"("dtc_conf":{"admitted":true,"pattern":"10.0.0","admits_everybody":false}}]})"
              "\n");
    setenv("SAFEMODE", "1", 1);
    EXPECT_THAT(who({"10.0.0.5"}, 1),
                HasSubstr("no client is admitted, the configuration cannot be read: "));
    unsetenv("SAFEMODE");
    for (char const* wrong : {"10.0.0", "10.0.0.5:55755", "4294967296", "--nobody"})
        EXPECT_NE(who({wrong}, 2), "") << "it must say why";
}

} // namespace
