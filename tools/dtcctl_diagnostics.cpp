#include "tools/dtcctl_diagnostics.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace dtcctl {

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
