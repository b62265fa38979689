#pragma once

namespace KORVA::DTC {

/// Makes sure, once per process, that the box's network is configured; any thread may call. Returns
/// whether it is.
bool initialize_network();

/// 0 configured, 1 not configured yet, 3 the set-up could not be started.
int get_network_status();

} // namespace KORVA::DTC
