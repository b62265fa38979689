#include "conf/dtc_conf_gpp_eeprom.h"
#include "conf/dtc_conf_schema.h"
#include "tests/conf/box_vars.h"

using namespace KORVA::DTC;
using namespace testing_support;
using testing::ElementsAre;
using testing::Pair;

namespace {

using EepromImageTest = BoxVarsTest;

VariableList readBack()
{
    VariableList vars;
    readVarsFromEeprom(vars);
    return vars;
}

/// A text of so many bytes over several variables, the last of which ends it.
VariableList rendering(std::size_t textBytes)
{
    std::size_t const others = sizeof "dtcName=" + sizeof "ipConfig=" + 10 + sizeof "_state=";
    return {{"dtcName", "x"},
            {"ipConfig", std::string(10, 'i')},
            {"_state", std::string(textBytes - others - 1, 'y')}};
}

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
    EXPECT_EQ(boxFile("/dev/i2c/eeprom"),
              text + std::string(33, '\0') + std::string(32768 - 320, '\xFF'));
    newTransfers();
    EXPECT_EQ(readBack().size(), 18U);
    EXPECT_EQ(newTransfers().size(), 10U) << "an address and a page, five times";
}

TEST_F(EepromImageTest, ReadsWhateverLiesThere)
{
    std::pair<std::string, VariableList> const cases[] = {
        {std::string(16384, '\0'), {}},
        {std::string(16384, 'a'), {}},
        {std::string("dtcName=a=b\nfoo=1\n=v\n_state=x\n\0", 31),
         {{"dtcName", "a=b"}, {"_state", "x"}}},
        {std::string("dtcName=a\nno pair\n_state=x\n\0", 28), {{"dtcName", "a"}}},
        {std::string("dtcName=a\n\xFF\xFE\0", 13), {{"dtcName", "a"}}},
        {"dtcName=" + std::string(16384, 'x'), {}}};
    for (auto const& [image, expected] : cases) {
        setBoxFile("/dev/i2c/eeprom", image + std::string(32768 - image.size(), '\xFF'));
        EXPECT_EQ(readBack(), expected);
    }
    VariableList kept{{"foo", "1"}};
    PLATFORM::FAULTS::onTransfer(4, PLATFORM::FAULTS::Transfer::Fails);
    EXPECT_NE(failureOf([&] { readVarsFromEeprom(kept); }), "none");
    EXPECT_THAT(kept, ElementsAre(Pair("foo", "1")));
}

TEST_F(EepromImageTest, HoldsTextUpToItsLastByte)
{
    for (std::size_t const bytes : {63U, 64U, 16382U, 16383U}) {
        newTransfers();
        writeVarsToEeprom(rendering(bytes));
        EXPECT_EQ(newTransfers().size(), bytes / 64 + 1) << "the terminator's page is the last";
        EXPECT_EQ(boxFile("/dev/i2c/eeprom").find('\0'), bytes);
        EXPECT_EQ(readBack(), rendering(bytes));
    }
    std::string const before = boxFile("/dev/i2c/eeprom");
    EXPECT_EQ(failureOf([] { writeVarsToEeprom(rendering(16384)); }),
              "operation failed : configuration variables too large for EEPROM");
    EXPECT_EQ(failureOf([] {
                  writeVarsToEeprom({{"_state", std::string(16384 - 8, 'x')}});
              }),
              "operation failed");
    EXPECT_EQ(boxFile("/dev/i2c/eeprom"), before);
    std::string every;
    for (int byte = 1; byte < 256; ++byte)
        every.push_back(static_cast<char>(byte));
    writeVarsToEeprom({{"dtcName", every}, {"_state", ""}, {"_logMask", "7"}});
    EXPECT_THAT(readBack(), ElementsAre(Pair("dtcName", " "), Pair("_logMask", "7")))
        << "a tab became a blank, the line feed ended the value, and the rest is a name that is "
           "not stored";
}

} // namespace
