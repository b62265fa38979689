#include "tools/dtcctl_adapter_run.h"

#include "tools/dtcctl.h"
#include "tools/dtcctl_adapter_shared_memory.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace dtcctl {
namespace {

using Clock = std::chrono::steady_clock;

/// What a side leaves behind; its process may have ended in the middle of anything.
struct Record
{
    RunningCall running;
    std::atomic<bool> hasFinding;
    Result result;
    char text[1000];
};
static_assert(RunningCall::is_always_lock_free, "processes share it");

/// Thrown when the other side has ended; what that side says counts.
class PeerHasEnded
{};

std::string inCall(Record const& record)
{
    char const* const call = record.running;
    return call == nullptr ? "" : std::string(" in ") + call;
}

void leave(Record& record, Finding const& finding)
{
    record.result = finding.result;
    std::snprintf(record.text, sizeof record.text, "%s", finding.text.c_str());
    record.hasFinding = true;
}

/// With _exit: what the library left behind for the end of a process is no part of a check.
[[noreturn]] void runSide(Side const& side, Record& record, int peerDescriptor)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    setpgid(0, 0);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    try {
        Peer peer(peerDescriptor);
        side(record.running, peer);
        leave(record, {});
    } catch (Finding const& finding) {
        leave(record, finding);
    } catch (PeerHasEnded const&) { // NOLINT(bugprone-empty-catch)
    } catch (std::exception const& error) {
        leave(record,
              {Result::Failed, "an exception came out" + inCall(record) + ": " + error.what()});
    } catch (...) {
        leave(record, {Result::Failed, "an exception came out" + inCall(record)});
    }
    std::fflush(stdout);
    _exit(0);
}

/// One side's process.
class Process
{
public:
    Process() = default;
    ~Process() { end(); }
    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;

    void start(Side const& side, int ownEnd, int otherEnd)
    {
        m_pid = fork();
        if (m_pid < 0)
            throw Failure(std::string("cannot start a process: ") + std::strerror(errno));
        if (m_pid == 0) {
            close(otherEnd);
            runSide(side, *m_record, ownEnd);
        }
        setpgid(m_pid, m_pid); // whichever comes first
    }

    bool isRunning()
    {
        if (m_pid > 0 && waitpid(m_pid, &m_status, WNOHANG) == m_pid) {
            ::kill(-m_pid, SIGKILL); // what it has started itself
            m_pid = -1;
        }
        return m_pid > 0;
    }

    /// What it says from now on does not count.
    void kill()
    {
        if (!isRunning())
            return;
        m_wasEnded = true;
        ::kill(-m_pid, SIGKILL);
    }

    void end()
    {
        kill();
        if (m_pid > 0)
            waitpid(m_pid, &m_status, 0);
        m_pid = -1;
    }

    bool wasEnded() const { return m_wasEnded; }
    Record const& record() const { return *m_record; }

    /// Why it ended without a word; "" when it did not, or was ended.
    std::string crash() const
    {
        if (m_wasEnded || m_record->hasFinding)
            return "";
        if (WIFSIGNALED(m_status))
            return "killed by signal " + std::to_string(WTERMSIG(m_status)) + " (" +
                   strsignal(WTERMSIG(m_status)) + ")" + inCall(*m_record);
        bool const sawPeerEnd = WEXITSTATUS(m_status) == 0 && m_record->running == nullptr;
        return sawPeerEnd ? ""
                          : "ended the process with status " +
                                std::to_string(WEXITSTATUS(m_status)) + inCall(*m_record);
    }

    bool hasFailed() const
    {
        return !m_wasEnded && m_record->hasFinding && m_record->result != Result::Ok;
    }

private:
    SharedMemory<Record> m_record;
    pid_t m_pid = -1;
    int m_status = 0;
    bool m_wasEnded = false;
};

/// The one or two processes of a check.
class Isolation
{
public:
    Isolation(Side const& server, Side const& client) : m_count(client ? 2 : 1)
    {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            throw Failure(std::string("cannot make a socket pair: ") + std::strerror(errno));
        std::fflush(stdout);
        m_processes[0].start(server, ends[0], ends[1]);
        if (client)
            m_processes[1].start(client, ends[1], ends[0]);
        close(ends[0]);
        close(ends[1]);
    }

    Finding wait(std::chrono::milliseconds limit)
    {
        constexpr auto grace = std::chrono::milliseconds(300); // to see that the other has ended
        auto end = Clock::now() + limit;
        bool isAlone = false;
        for (unsigned int running = countRunning(); running > 0; running = countRunning()) {
            if (running < m_count && !isAlone && anyBadEnd()) {
                isAlone = true;
                end = std::min(end, Clock::now() + grace);
            }
            if (Clock::now() >= end)
                break;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        for (Process& process : m_processes)
            process.kill(); // all, before any of them sees another one's end
        for (Process& process : m_processes)
            process.end();
        return judge(limit);
    }

private:
    unsigned int countRunning()
    {
        unsigned int count = 0;
        for (Process& process : m_processes)
            count += process.isRunning() ? 1 : 0;
        return count;
    }

    bool anyBadEnd()
    {
        for (Process& process : m_processes) {
            if (!process.isRunning() && (process.hasFailed() || !process.crash().empty()))
                return true;
        }
        return false;
    }

    std::string nameOf(Process const& process) const
    {
        if (m_count == 1)
            return "";
        return &process == &m_processes[0] ? "server: " : "client: ";
    }

    /// A crash explains what the other side saw, and so comes first.
    Finding judge(std::chrono::milliseconds limit) const
    {
        for (Process const& process : m_processes) {
            if (!process.crash().empty())
                return {Result::Failed, nameOf(process) + process.crash()};
        }
        for (Process const& process : m_processes) {
            if (process.hasFailed())
                return {process.record().result,
                        nameOf(process) + process.record().text + stuck(process)};
        }
        if (!m_processes[0].wasEnded() && !m_processes[1].wasEnded())
            return {};
        std::string calls;
        for (Process const& process : m_processes) {
            if (process.wasEnded())
                calls += (calls.empty() ? "" : ", ") + nameOf(process) + "no end" +
                         inCall(process.record());
        }
        return {Result::Failed, calls + " within " + std::to_string(limit.count()) + " ms"};
    }

    /// What the other side was still doing.
    std::string stuck(Process const& failed) const
    {
        Process const& other = &failed == &m_processes[0] ? m_processes[1] : m_processes[0];
        if (!other.wasEnded() || other.record().running == nullptr)
            return "";
        return "; " + nameOf(other) + "no end" + inCall(other.record());
    }

    unsigned int m_count;
    std::array<Process, 2> m_processes;
};

} // namespace

void Peer::proceed()
{
    char const byte = 1;
    if (send(m_descriptor, &byte, 1, MSG_NOSIGNAL) != 1)
        throw PeerHasEnded();
}

void Peer::await()
{
    char byte = 0;
    ssize_t count = 0;
    do
        count = recv(m_descriptor, &byte, 1, 0);
    while (count < 0 && errno == EINTR);
    if (count != 1)
        throw PeerHasEnded();
}

bool Peer::mayProceed()
{
    pollfd descriptor = {m_descriptor, POLLIN, 0};
    return poll(&descriptor, 1, 0) > 0;
}

Finding runIsolated(Side const& server, Side const& client, std::chrono::milliseconds limit)
{
    return Isolation(server, client).wait(limit);
}

} // namespace dtcctl
