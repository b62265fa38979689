#include "adapter/skylark_io_adapter_policy.h"

#include "conf/dtc_conf_schema.h"
#include "platform/platform.h"
#include "util/regular_file.h"

#include <string>

namespace {

using KORVA::uMutexGuard;

/// Notes for all programs on the box who holds it. A record that cannot be written stays as it is.
void recordHolder(char const* holder) noexcept
{
    try {
        static_cast<void>(KORVA::replaceRegularFile(KORVA::DTC::PLATFORM::path("/tmp/ip_client"),
                                                    std::string(holder) + "\n"));
    } catch (...) { // out of memory
    }
}

} // namespace

void skylark_Server_SingleAccess::on_first_client_added(char const* address) noexcept
{
    uMutexGuard const guard(m_conf_lock);
    recordHolder(address);
}

void skylark_Server_SingleAccess::on_last_client_removed() noexcept
{
    uMutexGuard const guard(m_conf_lock);
    recordHolder(KORVA::DTC::CONF::VALUE::None);
}
