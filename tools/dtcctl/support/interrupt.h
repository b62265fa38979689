#pragma once

namespace dtcctl {

/// From now on SIGINT, SIGTERM, SIGHUP and SIGQUIT end the program in good order: they interrupt a
/// wait and are remembered. Programs that it starts still end by them.
void catchInterrupts();

bool interrupted();

/// From now on neither a signal that asks for the end nor a closed terminal or pipe ends the
/// program, nor any program that it starts.
void ignoreInterrupts();

/// Sleeps for the time, or until interrupted.
void sleepUnlessInterrupted(unsigned int milliseconds);

} // namespace dtcctl
