#include "adapter/skylark_io_adapter_network.h"

#include <atomic>

namespace KORVA::DTC {
namespace {

std::atomic<int> dtc_network_status{1};

} // namespace

/// Takes the network as it is: nothing is set up from the configuration yet.
bool initialize_network()
{
    dtc_network_status = 0;
    return true;
}

int get_network_status()
{
    return dtc_network_status;
}

} // namespace KORVA::DTC
