#include "conf/dtc_conf_gpp_eeprom.h"
#include "conf/dtc_conf_schema.h"
#include "conf/dtc_conf_status.h"
#include "periph/dtc_periph_exception.h"
#include "platform/simulated/faults.h"
#include "tests/support/box_state.h"

#include <gmock/gmock.h>
#include <unistd.h>

using namespace KORVA::DTC;
using namespace testing_support;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

namespace {

using VariableList = std::vector<std::pair<std::string, std::string>>;

constexpr std::size_t areaBytes = 16384;

VariableList readBack()
{
    VariableList vars;
    readVarsFromEeprom(vars);
    return vars;
}

VariableList rendering(std::size_t textBytes)
{
    return {{"dtcName", std::string(textBytes - sizeof "dtcName=", 'x')}}; // and a line feed
}

/// The same over several variables, the last of which ends it.
VariableList severalRendering(std::size_t textBytes)
{
    VariableList vars = rendering(textBytes / 2);
    vars.emplace_back("ipConfig", std::string(100, 'i'));
    std::size_t const rest = textBytes - textBytes / 2 - sizeof "ipConfig=" - 100;
    vars.emplace_back("_state", std::string(rest - sizeof "_state=", 'y'));
    return vars;
}

class EepromImageTest : public testing::Test
{
protected:
    EepromImageTest() { setBoxFile("/dev/i2c/eeprom", std::string(32768, '\xFF')); }
    ~EepromImageTest() override { PLATFORM::FAULTS::clear(); }
};

TEST_F(EepromImageTest, StoresTheDefaultsInFivePages)
{
    EXPECT_THAT(readBack(), ElementsAre()) << "erased";
    VariableList defaults;
    getDefaultVars(defaults);
    newTransfers();
    writeVarsToEeprom(defaults);
    EXPECT_EQ(newTransfers().size(), 5U);
    std::string const text = "addrConf=:55756\naddrIo=:55755\ndtcName=none\nipBroadcast=none\n"
                             "ipConfig=dhcp\nipGateway=none\nipHwaddress=none\nipLeasehours=none\n"
                             "ipLeasetime=none\nipMtu=none\nipNetmask=none\nipNetwork=none\n"
                             "ipPointopoint=none\n_ipFilter=none\n_logEnable=false\n_logMask=1\n"
                             "_state=none\n_fpgaImageName=skylarkmax.xsvf\n";
    ASSERT_EQ(text.size(), 287U);
    EXPECT_EQ(boxFile("/dev/i2c/eeprom").substr(0, 320), text + std::string(33, '\0'));
    EXPECT_EQ(boxFile("/dev/i2c/eeprom").substr(320), std::string(32768 - 320, '\xFF'));
    newTransfers();
    EXPECT_EQ(readBack().size(), 18U);
    EXPECT_EQ(newTransfers().size(), 10U) << "an address and a page, five times";
}

TEST_F(EepromImageTest, ReadsWhateverLiesThere)
{
    struct
    {
        std::string image;
        VariableList vars;
    } const cases[] = {{std::string(areaBytes, '\0'), {}},
                       {std::string(areaBytes, 'a'), {}},
                       {std::string("dtcName=a=b\nfoo=1\n_state=x\n\0", 28),
                        {{"dtcName", "a=b"}, {"_state", "x"}}},
                       {std::string("dtcName=a\n\xFF\xFE\0", 13), {{"dtcName", "a"}}},
                       {"dtcName=" + std::string(areaBytes, 'x'), {}}};
    for (auto const& c : cases) {
        setBoxFile("/dev/i2c/eeprom", c.image + std::string(32768 - c.image.size(), '\xFF'));
        EXPECT_EQ(readBack(), c.vars);
    }
}

TEST_F(EepromImageTest, HoldsTextUpToItsLastByte)
{
    for (std::size_t const bytes : {63U, 64U, 16382U, 16383U}) {
        VariableList const vars = bytes < 1000 ? rendering(bytes) : severalRendering(bytes);
        newTransfers();
        writeVarsToEeprom(vars);
        EXPECT_EQ(newTransfers().size(), bytes / 64 + 1) << "the terminator's page is the last";
        EXPECT_EQ(readBack(), vars);
    }
    std::string const before = boxFile("/dev/i2c/eeprom");
    EXPECT_THAT([] { writeVarsToEeprom(severalRendering(16384)); },
                testing::ThrowsMessage<CONF::Exception>(
                    "operation failed : configuration variables too large for EEPROM"));
    EXPECT_THAT([&] { writeVarsToEeprom(rendering(16384)); },
                testing::ThrowsMessage<CONF::Exception>("operation failed"));
    EXPECT_EQ(boxFile("/dev/i2c/eeprom"), before);
    std::string every;
    for (int byte = 1; byte < 256; ++byte)
        every.push_back(static_cast<char>(byte));
    writeVarsToEeprom({{"dtcName", every}, {"_state", ""}, {"_logMask", "7"}});
    EXPECT_THAT(readBack(), ElementsAre(Pair("dtcName", " "), Pair("_logMask", "7")))
        << "a tab became a blank, the line feed ended the value, and the rest is a name that is "
           "not stored";
}

// Each transfer of reading and of writing fails in turn: the list or the pages before stay, and the
// lock is free.
TEST_F(EepromImageTest, SaysWhatFailedAndFreesTheBus)
{
    VariableList const vars = rendering(150);
    writeVarsToEeprom(vars);
    for (unsigned int n = 1; n <= 6; ++n) {
        PLATFORM::FAULTS::onTransfer(n, PLATFORM::FAULTS::Transfer::Fails);
        VariableList kept{{"foo", "1"}};
        EXPECT_THAT([&] { readVarsFromEeprom(kept); },
                    testing::ThrowsMessage<CONF::Exception>(HasSubstr(
                        "peripheral access failed : unable to read EEPROM : dtc_periph_i2c(")));
        EXPECT_THAT(kept, ElementsAre(Pair("foo", "1")));
    }
    for (unsigned int n = 1; n <= 3; ++n) {
        setBoxFile("/dev/i2c/eeprom", std::string(32768, 'o'));
        PLATFORM::FAULTS::onTransfer(n, PLATFORM::FAULTS::Transfer::Fails);
        EXPECT_THAT([&] { writeVarsToEeprom(vars); },
                    testing::ThrowsMessage<CONF::Exception>(
                        HasSubstr("operation failed : unable to write EEPROM : dtc_periph_i2c(")));
        EXPECT_EQ(boxFile("/dev/i2c/eeprom").find('o'), n == 1 ? 0U : 64U * (n - 1));
    }
    PLATFORM::FAULTS::clear();
    EXPECT_NE(access((PLATFORM::boxRoot() + "/var/lock/i2c").c_str(), F_OK), 0) << "a lock is left";
    writeVarsToEeprom(vars);
    EXPECT_EQ(readBack(), vars);
}

} // namespace
