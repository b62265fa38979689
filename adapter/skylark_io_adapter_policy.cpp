#include "adapter/skylark_io_adapter_policy.h"

#include "adapter/skylark_io_adapter_filter.h"
#include "conf/dtc_conf_gpp_led.h"
#include "conf/dtc_conf_schema.h"
#include "conf/dtc_conf_vars.h"
#include "periph/dtc_periph_led.h"
#include "platform/platform.h"
#include "util/at_load.h"
#include "util/regular_file.h"

namespace KORVA::DTC {
namespace {

/// What becomes of a client. The values are how often the box blinks to say so.
enum Decision : unsigned int { Admitted = 0, Busy = 1, Filtered = 2 };

/// Decides by the configuration as it is now. Throws when it cannot be read.
Decision decide(std::string const& address, bool severalMachines)
{
    CONF::Vars vars("");
    vars.read();
    std::string const& holder = vars.getVar(CONF::NAME::ipClient);
    if (!severalMachines && holder != CONF::VALUE::None && holder != address)
        return Busy;
    if (!find_admitting_pattern(vars.getVar(CONF::NAME::_ipFilter), address))
        return Filtered;
    return Admitted;
}

/// Notes for all programs on the box who holds it. A record that cannot be written stays as it is.
void recordHolder(char const* holder) noexcept
{
    try {
        static_cast<void>(
            replaceRegularFile(PLATFORM::path("/tmp/ip_client"), std::string(holder) + "\n"));
    } catch (...) { // out of memory
    }
}

} // namespace

[[gnu::init_priority(BeforeAdapter)]] uMutex skylark_Server::m_conf_lock;

/// A client that cannot be judged is refused without a sign.
bool skylark_Server::is_client_allowed(char const* address) noexcept
{
    uMutexGuard const guard(m_conf_lock);
    try {
        Decision const decision = decide(address, is_multiclient_allowed());
        if (decision == Admitted)
            return true;
        flashLED(PERIPH::getI2CLed0(), decision);
    } catch (...) { // no configuration, or no turn on the bus: the client is refused all the same
    }
    return false;
}

} // namespace KORVA::DTC

bool skylark_Server_SingleAccess::is_multiclient_allowed()
{
    return false;
}

void skylark_Server_SingleAccess::on_first_client_added(char const* address) noexcept
{
    KORVA::uMutexGuard const guard(m_conf_lock);
    KORVA::DTC::recordHolder(address);
}

void skylark_Server_SingleAccess::on_last_client_removed() noexcept
{
    KORVA::uMutexGuard const guard(m_conf_lock);
    KORVA::DTC::recordHolder(KORVA::DTC::CONF::VALUE::None);
}

bool skylark_Server_SharedAccess::is_multiclient_allowed()
{
    return true;
}

void skylark_Server_SharedAccess::on_first_client_added(char const* /*address*/) noexcept {}

void skylark_Server_SharedAccess::on_last_client_removed() noexcept {}
