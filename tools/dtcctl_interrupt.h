#pragma once

namespace dtcctl {

/// From now on SIGINT and SIGTERM end the program in good order: they interrupt a wait and are
/// remembered.
void catchInterrupts();

bool interrupted();

/// Sleeps for the time, or until interrupted.
void sleepUnlessInterrupted(unsigned int milliseconds);

} // namespace dtcctl
