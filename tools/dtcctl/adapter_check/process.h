/// One side of a check, in a process of its own.
#pragma once

#include "tools/dtcctl/adapter_check/run.h"
#include "tools/dtcctl/adapter_check/shared_memory.h"

#include <atomic>
#include <sys/types.h>

namespace dtcctl {

/// How the process of a side took its leave.
enum class Leave : int {
    None,      ///< Not at all: it runs, has crashed or was ended by the library.
    PeerEnded, ///< The other side had ended; what that side says counts.
    Finding
};

/// What a side leaves behind; its process may have ended in the middle of anything.
struct Record
{
    RunningCall running;
    std::atomic<Leave> leave;
    Result result;
    char text[1000];
};
static_assert(RunningCall::is_always_lock_free, "processes share it");
static_assert(std::atomic<Leave>::is_always_lock_free, "processes share it");

/// Thrown when the other side has ended.
class PeerHasEnded
{};

/// " in DTC_IO_Open", "" outside of the library.
std::string inCall(Record const& record);

class Process
{
public:
    Process() = default;
    ~Process() { end(); }
    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;

    void start(Side const& side, int ownEnd, int otherEnd);
    bool isRunning();

    /// What it says from now on does not count.
    void kill();

    void end();

    bool wasEnded() const { return m_wasEnded; }
    Record const& record() const { return *m_record; }

    /// Why it ended without a word; "" when it did not, or was ended.
    std::string crash() const;

    bool hasFinding() const { return !m_wasEnded && m_record->leave == Leave::Finding; }
    bool hasFailed() const { return hasFinding() && m_record->result != Result::Ok; }

private:
    void reap();

    SharedMemory<Record> m_record;
    pid_t m_pid = -1;
    int m_status = 0;
    bool m_hasEnded = false;
    bool m_wasEnded = false;
};

} // namespace dtcctl
