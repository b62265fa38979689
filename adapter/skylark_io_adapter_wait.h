#pragma once

#include "adapter/dtc_io.h"
#include "adapter/skylark_io_adapter_peer_watch.h"

#include <algorithm>
#include <chrono>
#include <sys/select.h>

namespace KORVA::DTC {

/// select(2) for readability of the descriptors up to maxfd, for timeout milliseconds (0xFFFFFFFF:
/// without limit). Returns the number of readable descriptors, left in set; 0 on time-out; -1 on
/// failure, an interruption by a signal included, when set is undefined.
inline int selectReadable(fd_set& set, int maxfd, unsigned int timeout)
{
    if (timeout == DTC_IO_NO_TIME_LIMIT)
        return select(maxfd + 1, &set, nullptr, nullptr, nullptr);
    timeval limit{static_cast<time_t>(timeout / 1000),
                  static_cast<suseconds_t>(timeout % 1000) * 1000};
    return select(maxfd + 1, &set, nullptr, nullptr, &limit);
}

/// The same for one descriptor.
inline int selectReadable(int descriptor, unsigned int timeout)
{
    fd_set set;
    FD_ZERO(&set);
    FD_SET(descriptor, &set);
    return selectReadable(set, descriptor, timeout);
}

/// How long a server's next select may last, and whether it includes the listening socket. None
/// lasts longer than a peer may go without being looked after.
///
/// A connection that cannot be accepted, because the process has run out of descriptors, keeps the
/// listening socket readable: without a pause the wait would spin. While paused, clients are still
/// served, and the time-out runs on; after each pause accepting is tried again.
class ServerWait
{
public:
    explicit ServerWait(unsigned int timeoutMs) : m_timeoutMs(timeoutMs), m_leftMs(timeoutMs) {}

    bool listens() const { return m_listens; }

    /// Milliseconds for the next select, in which there are clients or none.
    unsigned int nextSlice(bool hasClients)
    {
        unsigned int const longest = hasClients ? PeerWatch::intervalMs : m_leftMs;
        return m_sliceMs = std::min(m_leftMs, m_listens ? longest : pauseMs);
    }

    /// A connection was dealt with: the full time-out again.
    void restart()
    {
        m_leftMs = m_timeoutMs;
        m_hasDeadline = false;
        m_listens = true;
    }

    void pauseListening()
    {
        if (!m_hasDeadline)
            m_deadline = Clock::now() + std::chrono::milliseconds(m_timeoutMs);
        m_hasDeadline = true;
        m_listens = false;
        m_leftMs = left();
    }

    /// After a select that timed out: whether that was the end. If it was not, a slice was.
    bool isOver()
    {
        if (!m_listens)
            m_leftMs = left();
        else if (m_leftMs != DTC_IO_NO_TIME_LIMIT)
            m_leftMs -= m_sliceMs;
        m_listens = true;
        return m_leftMs == 0;
    }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr unsigned int pauseMs = 50;

    unsigned int left() const
    {
        if (m_timeoutMs == DTC_IO_NO_TIME_LIMIT)
            return m_timeoutMs;
        auto const rest = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - Clock::now());
        return static_cast<unsigned int>(std::max<long long>(rest.count(), 0));
    }

    unsigned int m_timeoutMs;
    unsigned int m_leftMs;
    unsigned int m_sliceMs = 0;
    Clock::time_point m_deadline;
    bool m_hasDeadline = false;
    bool m_listens = true;
};

} // namespace KORVA::DTC
