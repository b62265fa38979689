#include "conf/dtc_conf_gpp_eeprom.h"
#include "periph/dtc_periph_exception.h"
#include "tests/conf/box_vars.h"
#include "tests/support/child.h"

using namespace KORVA::DTC;
using namespace KORVA::DTC::CONF;
using namespace testing_support;

namespace {

VariableList imageOf(char letter)
{
    return {{"dtcName", std::string(100, letter)},
            {"_state", std::string(letter == 'a' ? 200 : 300, letter)}};
}

/// One of the two images each time, or no turn on the bus.
void readAgainAndAgain()
{
    int succeeded = 0;
    for (int i = 0; i < 8; ++i) {
        Vars vars("");
        try {
            vars.read();
            ++succeeded;
            VariableList const seen{{"dtcName", vars.getVar("dtcName")},
                                    {"_state", vars.getVar("_state")}};
            EXPECT_TRUE(seen == imageOf('a') || seen == imageOf('b')) << "a mixture";
            EXPECT_EQ(vars.getVar("boardRev"), "2");
        } catch (PERIPH::Exception const& error) {
            EXPECT_EQ(error.status(), PERIPH::Timeout);
            EXPECT_THAT(error.what(), testing::HasSubstr("/var/lock/i2c"));
        }
    }
    EXPECT_GT(succeeded, 0);
}

TEST_F(BoxVarsTest, ReadersInOtherProcessesSeeWholeImages)
{
    writeVarsToEeprom(imageOf('a'));
    Fork first(readAgainAndAgain);
    Fork second(readAgainAndAgain);
    Fork third(readAgainAndAgain);
    for (char const letter : {'b', 'a', 'b', 'a', 'b'})
        writeVarsToEeprom(imageOf(letter));
    for (Fork* reader : {&first, &second, &third})
        EXPECT_EQ(reader->wait(), 0);
}

} // namespace
