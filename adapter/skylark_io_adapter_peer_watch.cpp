#include "adapter/skylark_io_adapter_peer_watch.h"

#include <ctime>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace KORVA::DTC {
namespace {

/// Whether the peer, which was not heard for an interval, has left what the system repeats
/// unanswered. A single repetition may have been lost on the way.
enum class Answer { Heard, Late, Missing };

Answer answerOf(int socket)
{
    tcp_info info{};
    socklen_t size = sizeof info;
    if (getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) != 0)
        return Answer::Heard;
    int const unanswered = info.tcpi_retransmits + info.tcpi_probes;
    if (unanswered == 0 || info.tcpi_last_ack_recv < PeerWatch::intervalMs)
        return Answer::Heard;
    return unanswered == 1 ? Answer::Late : Answer::Missing;
}

} // namespace

std::uint64_t PeerWatch::nowMs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000 +
           static_cast<std::uint64_t>(now.tv_nsec) / 1'000'000;
}

bool PeerWatch::findsGone(int socket, std::uint64_t nowMs)
{
    constexpr unsigned int enough = 6;
    if (nowMs - m_lookedMs < intervalMs)
        return false;
    m_lookedMs = nowMs;
    switch (answerOf(socket)) {
    case Answer::Heard:
        m_silentLooks = 0;
        break;
    case Answer::Late:
        break;
    case Answer::Missing:
        ++m_silentLooks;
        break;
    }
    return m_silentLooks >= enough;
}

} // namespace KORVA::DTC
