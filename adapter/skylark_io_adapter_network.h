/// The set-up of the box's network from the configuration variables, once per process.
#pragma once

namespace KORVA::DTC {

/// Makes sure that the box's network is configured, and returns whether it is: the first caller
/// reads the variables, writes "/tmp/interfaces" and runs the box's network commands, which takes
/// about as long as those; others wait for it. Says on standard output what it does. When the
/// variables cannot be read or the file cannot be written, the next call tries again. Any thread
/// may call; throws nothing. Programs do not wait for each other: two that start at the same time
/// write the same file and run the same commands side by side.
bool initialize_network();

/// 0 configured, or switched off by ipConfig; 1 not configured yet; 3 the commands could not be
/// started.
int get_network_status();

} // namespace KORVA::DTC
