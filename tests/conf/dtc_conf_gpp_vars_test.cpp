#include "conf/dtc_conf_schema.h"
#include "conf/dtc_conf_status.h"
#include "conf/dtc_conf_vars.h"
#include "periph/dtc_periph_led.h"
#include "platform/simulated/box_files.h"
#include "platform/simulated/faults.h"
#include "tests/support/box_state.h"
#include "util/ustring.h"

#include <cstdlib>
#include <gmock/gmock.h>

using namespace KORVA::DTC;
using namespace KORVA::DTC::CONF;
using namespace testing_support;
using testing::HasSubstr;
using testing::StartsWith;
using testing::ThrowsMessage;

namespace {

constexpr std::size_t bootProgressAddress = 32576;

class BoxVarsTest : public testing::Test
{
protected:
    BoxVarsTest() { PERIPH::getI2CLed2().init(); }
    ~BoxVarsTest() override
    {
        PLATFORM::FAULTS::clear();
        PLATFORM::renewBox();
        setError("none");
        unsetenv("SAFEMODE");
        unsetenv("IPCONFIG");
    }

    static Vars current()
    {
        Vars vars("");
        vars.read();
        return vars;
    }

    static void request(std::vector<std::pair<std::string, std::string>> const& pairs)
    {
        Vars vars("");
        vars.assign(pairs.begin(), pairs.end());
        vars.write();
    }

    static std::string bootProgress()
    {
        return boxFile("/dev/i2c/eeprom").substr(bootProgressAddress, 64);
    }
};

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
    EXPECT_EQ(bootProgress(), std::string("\3\12") + std::string(62, '\0'));
    request({{"safeMode", "False"}});
    EXPECT_EQ(bootProgress(), std::string(64, '\0'));

    setenv("IPCONFIG", "off", 1);
    request({{"ipConfig", "dhcp"}, {"dtcName", "other"}});
    unsetenv("IPCONFIG");
    vars = current();
    EXPECT_EQ(vars.getVar("ipConfig"), "192.168.0.10") << "left alone";
    EXPECT_EQ(vars.getVar("dtcName"), "other");
}

TEST_F(BoxVarsTest, KeepsStandbyMinutesAboveTwenty)
{
    for (auto const& [given, kept] : {std::pair<char const*, char const*>{"20", "20"},
                                      {" 045x", "45"},
                                      {"15", "45"},
                                      {"abc", "45"},
                                      {"30", "30"}}) {
        request({{"standbyMinutes", given}});
        // No source adds the pair, so a list that holds it is asked through a stored image without
        // it.
        Vars vars = current();
        EXPECT_THROW(vars.getVar("standbyMinutes"), Exception) << kept;
    }
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
    EXPECT_EQ(bootProgress(), std::string("\3\12") + std::string(62, '\0'));
}

// Each transfer of a write fails in turn. What had been done stays, what comes after does not
// happen, and the lock is free. The LED's own transfers, the last, fail in silence.
TEST_F(BoxVarsTest, StopsAtTheFirstFailureAndFreesTheLock)
{
    auto const save = [](std::string const& name) {
        request({{"dtcName", name}, {"safeMode", "true"}, {"_error", name}});
    };
    save("first");
    newTransfers();
    save("first");
    std::size_t const transfers = newTransfers().size();
    std::size_t const blinking = 4 * 3;
    for (unsigned int n = 1; n <= transfers; ++n) {
        save("before");
        PLATFORM::FAULTS::onTransfer(n, PLATFORM::FAULTS::Transfer::Fails);
        std::string failure = "none";
        try {
            save("after");
        } catch (Exception const& error) {
            failure = error.what();
        }
        PLATFORM::FAULTS::clear();
        EXPECT_EQ(boxFile("/var/lock/i2c"), "");
        if (n > transfers - blinking) {
            EXPECT_EQ(failure, "none");
        } else if (failure != "none") {
            EXPECT_THAT(
                failure,
                testing::AnyOf(HasSubstr("peripheral access failed : unable to read EEPROM : "),
                               HasSubstr("operation failed : unable to write EEPROM : "),
                               HasSubstr("operation failed : unable to write bootProgress : ")));
            EXPECT_EQ(errorText(), "before") << "_error comes after safeMode";
            bool const firstPageIsNew =
                boxFile("/dev/i2c/eeprom").find("dtcName=after") != std::string::npos;
            EXPECT_EQ(current().getVar("dtcName"), firstPageIsNew ? "after" : "before") << n;
            EXPECT_TRUE(firstPageIsNew || failure.find("bootProgress") == std::string::npos) << n;
        }
    }
    setBoxFile("/var/lock/i2c", "");
    EXPECT_THROW(save("never"), std::exception);
}

} // namespace
