#pragma once

#include "conf/dtc_conf_gpp_standby.h"
#include "conf/dtc_conf_status.h"
#include "conf/dtc_conf_vars.h"
#include "periph/dtc_periph_led.h"
#include "platform/simulated/box_files.h"
#include "platform/simulated/faults.h"
#include "tests/support/box_state.h"

#include <cstdlib>
#include <gmock/gmock.h>

namespace testing_support {

using VariableList = std::vector<std::pair<std::string, std::string>>;

inline std::string const leavesSafeMode = std::string("\3\12") + std::string(62, '\0');

/// A new box, its third LED ready to blink, and the environment without the variables that count.
class BoxVarsTest : public testing::Test
{
protected:
    BoxVarsTest() { KORVA::DTC::PERIPH::getI2CLed2().init(); }
    ~BoxVarsTest() override
    {
        KORVA::DTC::PLATFORM::FAULTS::clear();
        KORVA::DTC::PLATFORM::renewBox();
        KORVA::DTC::CONF::setError("none");
        for (char const* name : {"SAFEMODE", "IPCONFIG", "ROVERKIT"})
            unsetenv(name);
    }

    static KORVA::DTC::CONF::Vars current()
    {
        KORVA::DTC::CONF::Vars vars("");
        vars.read();
        return vars;
    }

    static void request(VariableList const& pairs)
    {
        KORVA::DTC::CONF::Vars vars("");
        vars.assign(pairs.begin(), pairs.end());
        vars.write();
    }

    static std::string bootRecord()
    {
        constexpr std::size_t address = 32576;
        return boxFile("/dev/i2c/eeprom").substr(address, 64);
    }
};

} // namespace testing_support
