#include "tools/dtcctl/support/library_call.h"

#include <cstdio>
#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

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

DiagnosticsToStderr::DiagnosticsToStderr() : m_output(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3))
{
    std::fflush(stdout);
    if (m_output != -1)
        dup2(STDERR_FILENO, STDOUT_FILENO);
}

DiagnosticsToStderr::~DiagnosticsToStderr()
{
    std::fflush(stdout);
    if (m_output == -1)
        return;
    dup2(m_output, STDOUT_FILENO);
    close(m_output);
}

} // namespace dtcctl
