#include "tools/dtcctl/adapter_check/run.h"

#include "tools/dtcctl/adapter_check/process.h"
#include "tools/dtcctl/support/failure.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace dtcctl {
namespace {

using Clock = std::chrono::steady_clock;

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
        if (!m_processes[0].wasEnded() && !m_processes[1].wasEnded()) {
            bool const hasWord = m_processes[0].hasFinding() || m_processes[1].hasFinding();
            return hasWord ? Finding{} : Finding{Result::Failed, "the sides were cut off"};
        }
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
    std::signal(SIGCHLD, SIG_DFL); // ignored, it would take the statuses away
    return Isolation(server, client).wait(limit);
}

} // namespace dtcctl
