#include "tests/support/child.h"

#include <cstdlib>
#include <gmock/gmock.h>

using testing::AllOf;
using testing::HasSubstr;
using testing_support::Child;

namespace {

std::string dtcctl(std::vector<std::string> arguments, int status = 0)
{
    arguments.insert(arguments.begin(), PROGRAM_DIRECTORY "dtcctl");
    Child child(arguments);
    EXPECT_EQ(child.wait(), status) << child.output();
    return child.output();
}

TEST(DtcctlVarsTest, ChangesVariablesAndSaysWhatBecomesOfThem)
{
    dtcctl({"box", "--new"});
    EXPECT_EQ(dtcctl({"vars", "set", "dtcName=probe", "ipConfig=10.0.0.5"}),
              "dtcName: \"none\" -> \"probe\"\nipConfig: \"dhcp\" -> \"10.0.0.5\"\n");
    EXPECT_EQ(dtcctl({"vars", "get", "ipConfig", "dtcName"}), "10.0.0.5\nprobe\n");
    EXPECT_THAT(dtcctl({"vars", "list"}), HasSubstr("\ndtcName         probe\n"));
    EXPECT_THAT(dtcctl({"vars", "list", "--json"}),
                HasSubstr("\"boardRev\":\"2\",\"dtcName\":\"probe\",\"epkRev\""));
    struct
    {
        char const *request, *warning;
    } const warned[] = {
        {"foo=1", "foo: not a variable of this box"},
        {"swRev=1", "swRev: not writable"},
        {"_error=x", "_error: holds for the process that sets it"},
        {"safeMode=false", "safeMode: takes effect when the box starts next"},
        {"time=noon", "time: the clock takes YYYY/MM/DD hh:mm:ss only"},
        {"dtcName=a\tb\x7F", "dtcName: will read back as \"a b\""},
        {"dtcName=", "dtcName: will read back as \"none\""},
    };
    for (auto const& c : warned)
        EXPECT_THAT(dtcctl({"vars", "set", c.request}), HasSubstr(c.warning));
    EXPECT_EQ(dtcctl({"vars", "set", "dtcName=none"}), "nothing has changed\n");
    EXPECT_EQ(dtcctl({"vars", "restore"}), "ipConfig: \"10.0.0.5\" -> \"dhcp\"\n");
}

TEST(DtcctlVarsTest, RefusesWhatWouldLoseSomething)
{
    dtcctl({"box", "--new"});
    dtcctl({"vars", "set", "_state=kept"});
    struct
    {
        std::vector<std::string> words;
        int status;
        char const* reason;
    } const refused[] = {
        {{"set", "dtcName"}, 2, "\"dtcName\": not of the form NAME=VALUE"},
        {{"set", "=x"}, 2, "not of the form"},
        {{"set"}, 2, "NAME=VALUE is required"},
        {{"set", "dtcName=a\nb", "ipConfig=off"}, 1, "was not asked for: a line feed ends a value"},
        {{"set", "dtcName=" + std::string(16384, 'x')}, 1, "room for 16383"},
        {{"get", "dtcName", "dtcname"}, 1, "dtcctl: invalid variable name : dtcname"},
    };
    for (auto const& c : refused) {
        std::vector<std::string> words{"vars"};
        words.insert(words.end(), c.words.begin(), c.words.end());
        EXPECT_THAT(dtcctl(words, c.status), HasSubstr(c.reason));
    }
    setenv("SAFEMODE", "true", 1);
    EXPECT_THAT(dtcctl({"vars", "restore"}, 1), HasSubstr("--unsafe"));
    EXPECT_EQ(dtcctl({"vars", "get", "_state", "ipConfig", "dtcName"}), "kept\ndhcp\nnone\n");
    EXPECT_EQ(dtcctl({"vars", "restore", "--unsafe"}), "_state: \"kept\" -> \"none\"\n");
    unsetenv("SAFEMODE");
    EXPECT_THAT(dtcctl({"checksum", "/proc/self/nothing"}, 1), HasSubstr("invalid file : failed"));
}

} // namespace
