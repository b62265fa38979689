#include "tools/dtcctl/support/interrupt.h"

#include <csignal>
#include <ctime>
#include <initializer_list>
#include <unistd.h>

namespace dtcctl {
namespace {

volatile std::sig_atomic_t interruptions = 0;

/// The signal may come just before a wait begins and so miss it: an alarm interrupts the next ones.
extern "C" void onInterrupt(int /*signal*/)
{
    interruptions = 1;
    alarm(1);
}

} // namespace

void catchInterrupts()
{
    struct sigaction action = {};
    action.sa_handler = onInterrupt; // without SA_RESTART, so that waits end
    for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGALRM})
        sigaction(signal, &action, nullptr);
}

bool interrupted()
{
    return interruptions != 0;
}

void ignoreInterrupts()
{
    struct sigaction action = {};
    action.sa_handler = SIG_IGN;
    for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGPIPE})
        sigaction(signal, &action, nullptr);
}

void sleepUnlessInterrupted(unsigned int milliseconds)
{
    timespec const duration{static_cast<time_t>(milliseconds / 1000),
                            static_cast<long>(milliseconds % 1000) * 1'000'000L};
    if (!interrupted())
        nanosleep(&duration, nullptr);
}

} // namespace dtcctl
