#include "tools/dtcctl/adapter_check/process.h"

#include "tools/dtcctl/support/failure.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dtcctl {
namespace {

void leave(Record& record, Finding const& finding)
{
    record.result = finding.result;
    std::snprintf(record.text, sizeof record.text, "%s", finding.text.c_str());
    record.leave = Leave::Finding;
}

/// Ends with the parent, in a process group of its own, and without a core file.
void becomeSide(pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) // ended before the line above
        _exit(0);
    setpgid(0, 0);
    rlimit const none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    dup2(STDERR_FILENO, STDOUT_FILENO);
}

/// With _exit: what the library left behind for the end of a process is no part of a check. It
/// stays loaded until then, so that nothing of it runs after the finding.
[[noreturn]] void runSide(Side const& side, Record& record, int peerDescriptor)
{
    AdapterLibrary library(record.running);
    try {
        Peer peer(peerDescriptor);
        side(library, peer);
        leave(record, {});
    } catch (Finding const& finding) {
        leave(record, finding);
    } catch (PeerHasEnded const&) {
        record.leave = Leave::PeerEnded;
    } catch (std::exception const& error) {
        leave(record,
              {Result::Failed, "an exception came out" + inCall(record) + ": " + error.what()});
    } catch (...) {
        leave(record, {Result::Failed, "an exception came out" + inCall(record)});
    }
    std::fflush(stdout);
    _exit(0);
}

} // namespace

std::string inCall(Record const& record)
{
    char const* const call = record.running;
    return call == nullptr ? "" : std::string(" in ") + call;
}

void Process::start(Side const& side, int ownEnd, int otherEnd)
{
    pid_t const parent = getpid();
    m_pid = fork();
    if (m_pid < 0)
        throw Failure(std::string("cannot start a process: ") + std::strerror(errno));
    if (m_pid == 0) {
        becomeSide(parent);
        close(otherEnd);
        runSide(side, *m_record, ownEnd);
    }
    setpgid(m_pid, m_pid); // whichever comes first
}

bool Process::isRunning()
{
    if (m_pid <= 0)
        return false;
    siginfo_t info{};
    int result = 0;
    do
        result = waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT);
    while (result != 0 && errno == EINTR);
    if (result == 0 && info.si_pid == 0)
        return true;
    reap();
    return false;
}

void Process::kill()
{
    if (!isRunning())
        return;
    m_wasEnded = true;
    ::kill(-m_pid, SIGKILL);
}

void Process::end()
{
    kill();
    if (m_pid > 0)
        reap();
}

/// The group first, what the side has started itself: its number may be another's after the wait.
void Process::reap()
{
    ::kill(-m_pid, SIGKILL);
    while (waitpid(m_pid, &m_status, 0) < 0 && errno == EINTR) {
    }
    m_pid = -1;
    m_hasEnded = true;
}

std::string Process::crash() const
{
    if (!m_hasEnded || m_wasEnded || m_record->leave != Leave::None)
        return "";
    if (WIFSIGNALED(m_status))
        return "killed by signal " + std::to_string(WTERMSIG(m_status)) + " (" +
               strsignal(WTERMSIG(m_status)) + ")" + inCall(*m_record);
    return "ended the process with status " + std::to_string(WEXITSTATUS(m_status)) +
           inCall(*m_record);
}

} // namespace dtcctl
