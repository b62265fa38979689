#include "adapter/skylark_io_adapter_admission.h"

#include "adapter/skylark_io_adapter_filter.h"
#include "conf/dtc_conf_gpp_bus.h"
#include "conf/dtc_conf_schema.h"
#include "conf/dtc_conf_vars.h"
#include "periph/dtc_periph_led.h"

namespace KORVA::DTC {
namespace {

/// What becomes of a client. The values are how often the box blinks to say so.
enum Decision : unsigned int { Admitted = 0, Busy = 1, Filtered = 2 };

/// Throws when the configuration cannot be read.
Decision decide(std::string const& address, bool severalMachines)
{
    CONF::Vars vars("");
    vars.read();
    std::string const& holder = vars.getVar(CONF::NAME::ipClient);
    if (!severalMachines && holder != CONF::VALUE::None && holder != address)
        return Busy;
    if (!findAdmittingPattern(vars.getVar(CONF::NAME::_ipFilter), address))
        return Filtered;
    return Admitted;
}

} // namespace

bool isAdmitted(char const* address, bool severalMachines) noexcept
{
    try {
        Decision const decision = decide(address, severalMachines);
        if (decision == Admitted)
            return true;
        flashLED(PERIPH::getI2CLed0(), decision);
    } catch (...) { // no configuration, or no turn on the bus: the client is refused all the same
    }
    return false;
}

} // namespace KORVA::DTC
