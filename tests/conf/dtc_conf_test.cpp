// What needs no device: status, schema, variable set, image and checksum.
#include "conf/dtc_conf_checksum.h"
#include "conf/dtc_conf_image.h"
#include "conf/dtc_conf_schema.h"
#include "tests/conf/box_vars.h"
#include "util/build_info.h"

#include <algorithm>
#include <unistd.h>

using namespace KORVA::DTC::CONF;
using namespace testing_support;

namespace {

TEST(ConfExceptionTest, ComposesItsMessage)
{
    std::tuple<int, char const*, char const*> const cases[] = {
        {17, "x", "configuration data corrupted : x"},
        {11, nullptr, "unable to load configuration adapter"},
        {1, "", "operation failed : "},
        {0, nullptr, "operation failed"},
        {18, nullptr, "operation failed"},
        {-1, nullptr, "operation failed"}};
    for (auto const& [status, detail, message] : cases) {
        Exception const copy = Exception("file", 1, static_cast<Status>(status), detail);
        EXPECT_STREQ(copy.what(), message);
        EXPECT_EQ(copy.status(), status);
    }
}

TEST(ConfStatusTest, KeepsAnErrorTextAndALogSwitch)
{
    setError(nullptr);
    EXPECT_EQ(g_error.get(), "none");
    setError("");
    EXPECT_EQ(g_error.get(), "");
    for (char const* off : {"TRUE", "1", ""}) {
        setenv("DTC_CONF_LOGGING", off, 1);
        EXPECT_FALSE(isLogEnabled()) << off;
    }
    testing::internal::CaptureStdout();
    logLine("discarded");
    logEnable();
    logLine("seen");
    logDisable();
    logLine("discarded");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "seen\n");
    setenv("DTC_CONF_LOGGING", "true", 1);
    logDisable();
    EXPECT_TRUE(isLogEnabled()) << "the environment wins";
    unsetenv("DTC_CONF_LOGGING");
    auto const logAndEnd = [] {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        logEnable();
        logLine("seen");
        _exit(0);
    };
    EXPECT_EXIT(logAndEnd(), testing::ExitedWithCode(0), testing::Eq("seen\n")) << "at once";
}

VariableList const madeByAStaticConstructor = [] {
    VariableList vars{{"addrConf", "kept"}};
    getDefaultVars(vars);
    return vars;
}();

TEST(SchemaTest, KnowsThirtyFourVariables)
{
    std::string text;
    for (auto const& [name, value] : madeByAStaticConstructor)
        text += name + "=" + value + " ";
    std::string const version = KORVA::buildVersion;
    EXPECT_EQ(
        text,
        "addrConf=kept addrConf=:55756 addrIo=:55755 boardRev=none dtcName=none epkRev=" + version +
            " fpgaRev=none ipAddress=none ipBroadcast=none ipClient=none ipConfig=dhcp "
            "ipGateway=none ipHwaddress=none ipLeasehours=none ipLeasetime=none ipMtu=none "
            "ipNetmask=none ipNetwork=none ipPointopoint=none productClass=SKYMAX "
            "productName=Skymax Trace Receiver safeMode=false serialNum=none swBuildTime=" +
            KORVA::buildTime + " swRev=" + version +
            " time=none vendorName=Korvane _control=none "
            "_error=none _ipFilter=none _logEnable=false _logMask=1 _quietPeriod=15 _state=none "
            "_fpgaImageName=skylarkmax.xsvf ");
    std::string writable;
    SchemaEntry* row = nullptr;
    for (getSchema(row); row->name != nullptr; ++row) {
        EXPECT_TRUE(row->readable && row->writable >= row->stored) << row->name;
        writable += row->writable && !row->stored ? std::string(row->name) + " " : "";
    }
    EXPECT_EQ(row->defaultValue, nullptr);
    EXPECT_EQ(writable, "safeMode time _control ") << "but not stored";
    std::string words; // which no row holds
    for (char const* word :
         {VALUE::Off, VALUE::local, NAME::standbyEnable, NAME::standbyMinutes, NAME::_rndisMode,
          NAME::_rndisConfig, NAME::_fpgaNoReset, NAME::_fpgaForceLoad, NAME::_bootForce})
        words += std::string(word) + " ";
    EXPECT_EQ(words, "off local standbyEnable standbyMinutes _rndisMode _rndisConfig _fpgaNoReset "
                     "_fpgaForceLoad _bootForce ");
}

TEST(VarsTest, FindsSetsAndMerges)
{
    Vars vars("");
    EXPECT_THROW(vars.getVar("a"), Exception) << "empty until it is filled";
    vars.assign({{"a", "1"}, {"b", "2"}, {"b", "3"}});
    updateVars(vars, {{"b", "9"}, {"c", "3"}, {"c", ""}});
    vars.getVar("c") += "5";
    EXPECT_EQ(failureOf([&] { vars.getVar("A"); }), "invalid variable name : A");
    EXPECT_EQ(failureOf([&] { vars.getVar(nullptr); }), "null parameter");
    EXPECT_EQ(failureOf([&] { setValue("a", nullptr, vars); }), "null parameter");
    EXPECT_EQ(failureOf([&] { setValue(nullptr, "x", vars); }), "null parameter");
    EXPECT_EQ(vars, (VariableList{{"a", "1"}, {"b", "9"}, {"b", "3"}, {"c", "5"}}));
    struct Overriding : Vars
    {
        using Vars::Vars;
        void read() override { getDefaultVars(*this), calls += "read "; }
        void write() override { calls += "write"; }
        std::string calls;
    } overriding("");
    overriding.restore();
    EXPECT_EQ(overriding.calls, "read write");
}

TEST(VarsTest, CleansTextInPlace)
{
    std::tuple<std::string, unsigned int, std::string> const cases[] = {
        {std::string("a\tb\r\nc\0d", 8), 8, std::string("a b\nc\0\0d", 8)},
        {"a\1b", 3, "abb"},
        {"ab\1cd", 0, "ab\1cd"},
        {"\x7F\x80\xFF~ \x1F", 6, "~ \xFF~ \x1F"}};
    for (auto [text, size, cleaned] : cases) {
        filterChars(text.data(), size);
        EXPECT_EQ(text, cleaned);
    }
}

TEST(ImageTest, RendersWhatFits)
{
    char buf[10];
    std::fill_n(buf, sizeof buf, '#');
    unsigned int index = 0;
    VariableList vars{{"a", "\0011"}, {"", "x"}, {"b", ""}, {"c", "2"}, {"d", "\t\r\x80z"}};
    auto const all = [&] { return std::string(buf, sizeof buf); };
    varsToBuf(vars, buf, sizeof buf, index);
    EXPECT_EQ(index, 4U) << "a=1, c=2, their line feeds and what is taken out leave no room";
    EXPECT_EQ(all(), std::string("a=1\nc=2\n\0\0", 10));
    varsToBuf(vars, buf, sizeof buf, index);
    EXPECT_EQ(index, 0U);
    EXPECT_EQ(all(), std::string("d= z\n\0\n\0\0\0", 10)) << "a byte is left of the two taken out";
    auto const tooLong = [&] { varsToBuf({{"long", "12345"}}, buf, sizeof buf, index); };
    EXPECT_EQ(failureOf(tooLong), "operation failed");
    EXPECT_EQ(failureOf([&] { varsToBuf(vars, nullptr, 0, index); }), "null parameter");
    EXPECT_EQ(failureOf([&] { bufToVars(vars, nullptr, 0); }), "null parameter");
}

TEST(ChecksumTest, IsTheComplementOfTheCommonCrc)
{
    std::pair<std::string, unsigned int> const cases[] = {
        {"", 0xFFFFFFFFU},
        {"123456789", 0x340BC6D9U},
        {std::string(4096, 'a') + "123456789", 0xFFFFFFFFU ^ 0x439C40B2U}}; // more than one block
    for (auto const& [content, expected] : cases) {
        setBoxFile("/tmp/file", content);
        EXPECT_EQ(checksum((KORVA::DTC::PLATFORM::boxRoot() + "/tmp/file").c_str()), expected);
    }
    EXPECT_EQ(failureOf([] { checksum(nullptr); }), "null parameter");
    EXPECT_EQ(failureOf([] { checksum("/nonexistent"); }),
              "invalid file : failed to open /nonexistent for computing checksum");
}

} // namespace
