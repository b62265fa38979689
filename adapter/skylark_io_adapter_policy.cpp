#include "adapter/skylark_io_adapter_policy.h"

namespace KORVA::DTC {

uMutex skylark_Server::m_conf_lock;

/// Admits every client: no address is filtered yet.
bool skylark_Server::is_client_allowed(char const* /*address*/)
{
    return true;
}

} // namespace KORVA::DTC

bool skylark_Server_SingleAccess::is_multiclient_allowed()
{
    return false;
}

/// The client machine is not recorded anywhere yet.
void skylark_Server_SingleAccess::on_first_client_added(char const* /*address*/) noexcept {}

void skylark_Server_SingleAccess::on_last_client_removed() noexcept {}

bool skylark_Server_SharedAccess::is_multiclient_allowed()
{
    return true;
}

void skylark_Server_SharedAccess::on_first_client_added(char const* /*address*/) noexcept {}

void skylark_Server_SharedAccess::on_last_client_removed() noexcept {}
