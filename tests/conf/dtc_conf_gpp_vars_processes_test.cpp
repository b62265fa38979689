#include "conf/dtc_conf_gpp_eeprom.h"
#include "periph/dtc_periph_exception.h"
#include "tests/conf/box_vars.h"

#include <sys/wait.h>
#include <unistd.h>

using namespace KORVA::DTC;
using namespace KORVA::DTC::CONF;
using namespace testing_support;

namespace {

VariableList imageOf(char letter)
{
    return {{"dtcName", std::string(100, letter)},
            {"_state", std::string(letter == 'a' ? 200 : 300, letter)}};
}

constexpr int mixture = 100;

/// How many reads have succeeded, or mixture when one saw parts of two images.
int readAgainAndAgain()
{
    constexpr int rounds = 8;
    int succeeded = 0;
    for (int i = 0; i < rounds; ++i) {
        Vars vars("");
        try {
            vars.read();
        } catch (PERIPH::Exception const& error) {
            bool const saysSo =
                error.status() == PERIPH::Timeout &&
                std::string(error.what()).find("/var/lock/i2c") != std::string::npos;
            if (!saysSo)
                return mixture;
            continue;
        }
        ++succeeded;
        VariableList const seen{{"dtcName", vars.getVar("dtcName")},
                                {"_state", vars.getVar("_state")}};
        if ((seen != imageOf('a') && seen != imageOf('b')) || vars.getVar("boardRev") != "2")
            return mixture;
    }
    return succeeded;
}

TEST_F(BoxVarsTest, ReadersInOtherProcessesSeeWholeImages)
{
    writeVarsToEeprom(imageOf('a'));
    pid_t readers[3];
    for (pid_t& reader : readers) {
        reader = fork();
        if (reader == 0)
            _exit(readAgainAndAgain());
    }
    for (char const letter : {'b', 'a', 'b', 'a', 'b'})
        writeVarsToEeprom(imageOf(letter));
    for (pid_t const reader : readers) {
        int status = 0;
        ASSERT_EQ(waitpid(reader, &status, 0), reader);
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_GT(WEXITSTATUS(status), 0);
        EXPECT_LT(WEXITSTATUS(status), mixture);
    }
}

} // namespace
