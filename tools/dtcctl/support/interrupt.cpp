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

/// Without SA_RESTART, so that waits end.
void handle(std::initializer_list<int> signals, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    for (int const signal : signals)
        sigaction(signal, &action, nullptr);
}

} // namespace

void catchInterrupts()
{
    handle({SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGALRM}, onInterrupt);
}

bool interrupted()
{
    return interruptions != 0;
}

void ignoreInterrupts()
{
    handle({SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGPIPE}, SIG_IGN);
}

void sleepUnlessInterrupted(unsigned int milliseconds)
{
    timespec const duration{static_cast<time_t>(milliseconds / 1000),
                            static_cast<long>(milliseconds % 1000) * 1'000'000L};
    if (!interrupted())
        nanosleep(&duration, nullptr);
}

} // namespace dtcctl
