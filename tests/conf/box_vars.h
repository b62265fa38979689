#pragma once

#include "conf/dtc_conf_gpp_control.h"
#include "conf/dtc_conf_status.h"
#include "conf/dtc_conf_vars.h"
#include "periph/dtc_periph_led.h"
#include "platform/simulated/faults.h"
#include "tests/support/box_state.h"

#include <cstdlib>
#include <gmock/gmock.h>

namespace testing_support {

using VariableList = std::vector<std::pair<std::string, std::string>>;

inline std::string const leavesSafeMode = std::string("\3\12") + std::string(62, '\0');

/// The message of the exception of the type with which the work fails; "none" when it does not.
template <typename Failure = KORVA::DTC::CONF::Exception, typename Work>
std::string failureOf(Work work)
{
    try {
        work();
    } catch (Failure const& failure) {
        return failure.what();
    }
    return "none";
}

/// A new box that does not sleep, its third LED ready to blink, and the environment without the
/// variables that count.
class BoxVarsTest : public testing::Test
{
protected:
    BoxVarsTest() { renew(); }
    ~BoxVarsTest() override
    {
        KORVA::DTC::CONF::setError("none");
        setControl("none");
        renew();
    }

    static void renew()
    {
        for (char const* name : {"SAFEMODE", "IPCONFIG", "ROVERKIT", "RNDISMODE"})
            unsetenv(name);
        KORVA::DTC::PLATFORM::FAULTS::clear();
        KORVA::DTC::PLATFORM::renewBox();
        setBoxFile("/run/inetd.conf", "");
        setBoxFile("/bin/sleep", "#!/bin/sh\n");
        KORVA::DTC::PERIPH::getI2CLed2().init();
    }

    void request(VariableList const& pairs)
    {
        vars.assign(pairs.begin(), pairs.end());
        vars.write();
    }

    static std::string bootRecord() { return boxFile("/dev/i2c/eeprom").substr(32576, 64); }

    KORVA::DTC::CONF::Vars vars{""};
};

} // namespace testing_support
