#include "tools/dtcctl_library_call.h"

#include <initializer_list>

namespace dtcctl {

HeldSignals::HeldSignals() : m_before{}
{
    sigset_t held;
    sigemptyset(&held);
    for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGPIPE})
        sigaddset(&held, signal);
    pthread_sigmask(SIG_BLOCK, &held, &m_before);
}

HeldSignals::~HeldSignals()
{
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

} // namespace dtcctl
