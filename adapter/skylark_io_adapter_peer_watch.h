#pragma once

#include <cstdint>

namespace KORVA::DTC {

/// Notices a peer that has gone while something for it is under way. Keep-alive (tcp(7)) is silent
/// then, and the system by itself would go on trying for a quarter of an hour. TCP_USER_TIMEOUT
/// would not do: it ends also a peer that answers and only does not read, stopped in a debugger.
class PeerWatch
{
public:
    /// How often a watch needs to look.
    static constexpr unsigned int intervalMs = 5000;

    /// A monotonic clock that is cheap and some milliseconds coarse.
    static std::uint64_t nowMs();

    /// To be asked every now and then about the same connected socket; it looks when the interval
    /// is over. True once the peer has left everything unanswered for about 30 s.
    bool findsGone(int socket, std::uint64_t nowMs);

private:
    std::uint64_t m_lookedMs = 0;
    unsigned int m_silentLooks = 0;
};

} // namespace KORVA::DTC
