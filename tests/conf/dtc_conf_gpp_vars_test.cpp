#include "tests/conf/box_vars.h"
#include "util/ustring.h"

using namespace KORVA::DTC;
using namespace KORVA::DTC::CONF;
using namespace testing_support;
using testing::StartsWith;

namespace {

TEST_F(BoxVarsTest, ReadsDefaultsAndLiveValuesFromANewBox)
{
    setBoxFile("/tmp/ip_client", " 10.0.0.5 more\n");
    Vars vars = current();
    EXPECT_EQ(vars.size(), 34U);
    std::pair<char const*, char const*> const expected[] = {
        {"addrConf", ":55756"},  {"ipConfig", "dhcp"}, {"serialNum", "00:1B:C5:07:90:01"},
        {"ipAddress", "none"},   {"fpgaRev", "2.17"},  {"boardRev", "2"},
        {"safeMode", "false"},   {"_control", "none"}, {"_error", "none"},
        {"ipClient", "10.0.0.5"}};
    for (auto const& [name, value] : expected)
        EXPECT_EQ(vars.getVar(name), value) << name;
    EXPECT_THAT(vars.getVar("time"), StartsWith("20"));
    EXPECT_THROW(vars.getVar("standbyMinutes"), Exception);
    setBoxFile("/tmp/ip_client", "");
    setenv("SAFEMODE", "True", 1);
    setenv("IPCONFIG", "off", 1);
    vars = current();
    EXPECT_EQ(vars.getVar("ipClient"), "none");
    EXPECT_EQ(vars.getVar("safeMode"), "true");
    EXPECT_EQ(vars.getVar("ipConfig"), "off");
    setenv("SAFEMODE", "1", 1);
    EXPECT_THROW(vars.read(), KORVA::uString::error);
    EXPECT_EQ(vars.size(), 34U) << "what was there by then";
}

TEST_F(BoxVarsTest, WritesARequest)
{
    request({{"dtcName", "probe"},
             {"ipConfig", "192.168.0.10"},
             {"foo", "bar"},
             {"swRev", "9"},
             {"_error", "x"},
             {"_control", "ReadFpga"},
             {"safeMode", "false"},
             {"time", "2013/05/14 09:30:00"}});
    Vars vars = current();
    EXPECT_EQ(vars.getVar("dtcName"), "probe");
    EXPECT_EQ(vars.getVar("ipConfig"), "192.168.0.10");
    EXPECT_EQ(vars.getVar("_error"), "x");
    EXPECT_EQ(vars.getVar("_control"), "ReadFpga");
    EXPECT_NE(vars.getVar("swRev"), "9");
    EXPECT_THAT(vars.getVar("time"), StartsWith("2013/05/14 09:30:"));
    EXPECT_THROW(vars.getVar("foo"), Exception);
    EXPECT_EQ(bootRecord(), leavesSafeMode);
    request({{"safeMode", "False"}});
    EXPECT_EQ(bootRecord(), std::string(64, '\0'));

    setenv("IPCONFIG", "off", 1);
    request({{"ipConfig", "dhcp"}, {"dtcName", "other"}});
    unsetenv("IPCONFIG");
    vars = current();
    EXPECT_EQ(vars.getVar("ipConfig"), "192.168.0.10") << "left alone";
    EXPECT_EQ(vars.getVar("dtcName"), "other");
}

TEST_F(BoxVarsTest, KeepsStandbyMinutesAboveTwenty)
{
    EXPECT_EQ(standbyMinutes(), "20");
    request({{"standbyMinutes", " 045x"}});
    for (char const* refused : {"20", "-30", "abc", ""})
        setStandbyMinutes(refused);
    EXPECT_EQ(standbyMinutes(), "45");
}

TEST_F(BoxVarsTest, RestoresTheDefaultsUnlessInSafeMode)
{
    request({{"dtcName", "probe"}, {"_control", "none"}});
    setenv("SAFEMODE", "true", 1);
    Vars vars("");
    vars.restore();
    EXPECT_EQ(current().getVar("dtcName"), "probe") << "refused";
    request({{"_control", "AllowUnsafeRestore"}});
    vars.restore();
    EXPECT_EQ(vars.getVar("safeMode"), "false") << "the list holds the defaults";
    vars.read();
    EXPECT_EQ(vars.getVar("dtcName"), "none");
    EXPECT_EQ(vars.getVar("_control"), "none");
    EXPECT_EQ(bootRecord(), leavesSafeMode);
}

} // namespace
