#include "tools/dtcctl/adapter_check/isolation.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace dtcctl {
namespace {

using Clock = std::chrono::steady_clock;

/// What a side leaves behind; its process may have ended in the middle of anything.
struct Record
{
    RunningCall running;
    std::atomic<bool> hasResult; ///< Or it runs, has crashed or was ended by the library.
    Result result;
    char text[1000];
};
static_assert(RunningCall::is_always_lock_free, "processes share it");

/// " in DTC_IO_Open", "" outside of the library.
std::string inCall(Record const& record)
{
    char const* const call = record.running;
    return call == nullptr ? "" : std::string(" in ") + call;
}

void leave(Record& record, Finding const& finding)
{
    record.result = finding.result;
    std::snprintf(record.text, sizeof record.text, "%s", finding.text.c_str());
    record.hasResult = true;
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
    } catch (std::exception const& error) {
        leave(record,
              {Result::Failed, "an exception came out" + inCall(record) + ": " + error.what()});
    } catch (...) {
        leave(record, {Result::Failed, "an exception came out" + inCall(record)});
    }
    std::fflush(stdout);
    _exit(0);
}

/// The process of a side.
class Process
{
public:
    /// The name is what its findings begin with.
    explicit Process(char const* name) : m_name(name) {}
    ~Process() { end(); }
    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;

    void start(Side const& side, int ownEnd, int otherEnd)
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

    bool isRunning()
    {
        if (m_pid <= 0)
            return false;
        siginfo_t info{};
        while (waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0 &&
               errno == EINTR) {
        }
        if (info.si_pid == 0)
            return true;
        reap();
        return false;
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
            reap();
    }

    bool hasFinding() const
    {
        return !m_wasEnded && m_record->hasResult && m_record->result != Result::CutOff;
    }
    bool hasFailed() const { return hasFinding() && m_record->result != Result::Ok; }
    Finding finding() const
    {
        bool const isFault = m_record->result == Result::Failed;
        return {m_record->result, (isFault ? m_name : "") + m_record->text};
    }

    /// Why it ended without a word; "" when it did not, or was ended.
    std::string crash() const
    {
        if (!m_hasEnded || m_wasEnded || m_record->hasResult)
            return "";
        if (WIFSIGNALED(m_status))
            return m_name + "killed by signal " + std::to_string(WTERMSIG(m_status)) + " (" +
                   strsignal(WTERMSIG(m_status)) + ")" + inCall(*m_record);
        return m_name + "ended the process with status " + std::to_string(WEXITSTATUS(m_status)) +
               inCall(*m_record);
    }

    bool wasEnded() const { return m_wasEnded; }
    bool wasEndedInCall() const { return m_wasEnded && m_record->running != nullptr; }
    std::string whereItWas() const { return m_name + "no end" + inCall(*m_record); }

private:
    /// The group first, what the side has started itself: its number may be another's after the
    /// wait.
    void reap()
    {
        ::kill(-m_pid, SIGKILL);
        while (waitpid(m_pid, &m_status, 0) < 0 && errno == EINTR) {
        }
        m_pid = -1;
        m_hasEnded = true;
    }

    std::string const m_name;
    SharedMemory<Record> m_record;
    pid_t m_pid = -1;
    int m_status = 0;
    bool m_hasEnded = false;
    bool m_wasEnded = false;
};

bool hasEndedBadly(Process& process)
{
    return !process.isRunning() && (process.hasFailed() || !process.crash().empty());
}

/// Until both have ended or the time is over, which is short once one of them has ended badly.
void await(Process& server, Process& client, std::chrono::milliseconds limit)
{
    constexpr auto grace = std::chrono::milliseconds(300); // to see that the other has ended
    auto end = Clock::now() + limit;
    bool isAlone = false;
    while (Clock::now() < end && (server.isRunning() || client.isRunning())) {
        if (!isAlone && (hasEndedBadly(server) || hasEndedBadly(client))) {
            isAlone = true;
            end = std::min(end, Clock::now() + grace);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    server.kill(); // both, before either of them sees the other one's end
    client.kill();
    server.end();
    client.end();
}

/// A crash explains what the other side saw, and so comes first.
Finding judge(Process const& server, Process const& client, std::chrono::milliseconds limit)
{
    std::pair<Process const&, Process const&> const sides[] = {{server, client}, {client, server}};
    for (auto const& [side, other] : sides) {
        if (!side.crash().empty())
            return {Result::Failed, side.crash()};
    }
    for (auto const& [side, other] : sides) {
        if (!side.hasFailed())
            continue;
        Finding finding = side.finding();
        finding.text += other.wasEndedInCall() ? "; " + other.whereItWas() : "";
        return finding;
    }
    std::string calls;
    for (auto const& [side, other] : sides)
        calls += side.wasEnded() ? (calls.empty() ? "" : ", ") + side.whereItWas() : "";
    if (!calls.empty())
        return {Result::Failed, calls + " within " + std::to_string(limit.count()) + " ms"};
    bool const hasWord = server.hasFinding() || client.hasFinding();
    return hasWord ? Finding{} : Finding{Result::Failed, "the sides were cut off"};
}

} // namespace

void Peer::proceed()
{
    char const byte = 1;
    if (send(m_descriptor, &byte, 1, MSG_NOSIGNAL) != 1)
        throw Finding{Result::CutOff};
}

void Peer::await()
{
    char byte = 0;
    ssize_t count = 0;
    do
        count = recv(m_descriptor, &byte, 1, 0);
    while (count < 0 && errno == EINTR);
    if (count != 1)
        throw Finding{Result::CutOff};
}

bool Peer::mayProceed()
{
    pollfd descriptor = {m_descriptor, POLLIN, 0};
    return poll(&descriptor, 1, 0) > 0;
}

Finding runIsolated(Side const& server, Side const& client, std::chrono::milliseconds limit)
{
    std::signal(SIGCHLD, SIG_DFL); // ignored, it would take the statuses away
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw Failure(std::string("cannot make a socket pair: ") + std::strerror(errno));
    std::fflush(stdout);
    Process serving(client ? "server: " : "");
    Process opening("client: ");
    serving.start(server, ends[0], ends[1]);
    if (client)
        opening.start(client, ends[1], ends[0]);
    close(ends[0]);
    close(ends[1]);
    await(serving, opening, limit);
    return judge(serving, opening, limit);
}

} // namespace dtcctl
