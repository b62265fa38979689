#include "tests/tools/child.h"

using namespace testing_support;

namespace {

TEST(DtcctlVarsTest, ChangesVariablesAndSaysWhatBecomesOfThem)
{
    dtcctl("box --new");
    EXPECT_EQ(dtcctl("vars set dtcName=probe ipConfig=10.0.0.5"),
              "dtcName: \"none\" -> \"probe\"\nipConfig: \"dhcp\" -> \"10.0.0.5\"\n");
    EXPECT_EQ(dtcctl("vars get ipConfig dtcName"), "10.0.0.5\nprobe\n");
    EXPECT_THAT(dtcctl("vars list"), HasSubstr("\ndtcName         probe\n"));
    EXPECT_THAT(dtcctl("vars list --json"),
                HasSubstr("\"boardRev\":\"2\",\"dtcName\":\"probe\",\"epkRev\""));
    std::string const warnings = dtcctl({"vars", "set", "foo=1", "swRev=1", "_error=x",
                                         "safeMode=false", "time=noon", "dtcName=a\tb\x7F"});
    for (char const* warning :
         {"foo: not a variable of this box", "swRev: not writable",
          "_error: holds for the process that sets it",
          "safeMode: takes effect when the box starts next",
          "time: the clock takes YYYY/MM/DD hh:mm:ss only", "dtcName: will read back as \"a b\""})
        EXPECT_THAT(warnings, HasSubstr(warning));
    EXPECT_THAT(dtcctl("vars set dtcName="), HasSubstr("dtcName: will read back as \"none\""));
    EXPECT_EQ(dtcctl("vars set dtcName=none"), "nothing has changed\n");
    EXPECT_EQ(dtcctl("vars restore"), "ipConfig: \"10.0.0.5\" -> \"dhcp\"\n");
}

TEST(DtcctlVarsTest, RefusesWhatWouldLoseSomething)
{
    dtcctl("box --new");
    dtcctl("vars set _state=kept");
    std::tuple<std::vector<std::string>, int, char const*> const refused[] = {
        {{"set", "dtcName"}, 2, "\"dtcName\": not of the form NAME=VALUE"},
        {{"set", "=x"}, 2, "not of the form"},
        {{"set"}, 2, "NAME=VALUE is required"},
        {{"set", "dtcName=a\nb", "ipConfig=off"}, 1, "was not asked for: a line feed ends a value"},
        {{"set", "dtcName=" + std::string(16384, 'x')}, 1, "room for 16383"},
        {{"get", "dtcName", "dtcname"}, 1, "dtcctl: invalid variable name : dtcname"}};
    for (auto [command, status, reason] : refused) {
        command.insert(command.begin(), "vars");
        EXPECT_THAT(dtcctl(command, status), HasSubstr(reason));
    }
    setenv("SAFEMODE", "true", 1);
    EXPECT_THAT(dtcctl("vars restore", 1), HasSubstr("--unsafe"));
    EXPECT_EQ(dtcctl("vars get _state ipConfig dtcName"), "kept\ndhcp\nnone\n");
    EXPECT_EQ(dtcctl("vars restore --unsafe"), "_state: \"kept\" -> \"none\"\n");
    unsetenv("SAFEMODE");
    EXPECT_EQ(dtcctl({"checksum", fileWith("123456789")}), "340bc6d9\n");
    EXPECT_THAT(dtcctl("checksum /proc/self/nothing", 1), HasSubstr("invalid file : failed"));
}

TEST(DtcctlWhoTest, TellsWhoIsAdmittedAndWhy)
{
    dtcctl("box --new");
    EXPECT_EQ(
        dtcctl("who localhost"),
        "nobody holds dtc_io\n"
        "127.0.0.1        dtc_io    admitted by the pattern \"none\", which is no address and "
        "admits everybody\n"
        "127.0.0.1        dtc_conf  admitted by the pattern \"none\", which is no address and "
        "admits everybody\n");
    setBoxFile("/tmp/ip_client", "10.0.0.5\n");
    dtcctl("vars set _ipFilter=10.0.0");
    EXPECT_EQ(dtcctl("who skylark0:0x0A000006 127.0.0.1"),
              "dtc_io is held by 10.0.0.5\n"
              "10.0.0.6         dtc_io    refused: busy with 10.0.0.5\n"
              "10.0.0.6         dtc_conf  admitted by the pattern \"10.0.0\"\n"
              "127.0.0.1        dtc_io    refused: busy with 10.0.0.5\n"
              "127.0.0.1        dtc_conf  refused: no pattern of _ipFilter matches\n");
    EXPECT_EQ(dtcctl("who --json 10.0.0.5"),
              R"({"holder":"10.0.0.5","filter":"10.0.0","clients":[{"address":"10.0.0.5",)"
              R"("dtc_io":{"admitted":true,"pattern":"10.0.0","admits_everybody":false},)"
              R"("dtc_conf":{"admitted":true,"pattern":"10.0.0","admits_everybody":false}}]})"
              "\n");
    setenv("SAFEMODE", "1", 1);
    EXPECT_THAT(dtcctl("who 10.0.0.5", 1),
                HasSubstr("no client is admitted, the configuration cannot be read: "));
    unsetenv("SAFEMODE");
    for (char const* wrong : {"10.0.0", "10.0.0.5:55755", "4294967296", "--nobody"})
        EXPECT_NE(dtcctl({"who", wrong}, 2), "") << "it must say why";
}

} // namespace
