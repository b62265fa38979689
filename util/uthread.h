/// A detached worker thread that runs a uRunnable.
#pragma once

#include "export.h"
#include "uevent.h"
#include "umutex.h"

#include <atomic>
#include <pthread.h>

namespace KORVA {

/// What a uThread runs.
class KORVA_API uRunnable
{
public:
    virtual ~uRunnable();

    /// Called once for each uThread::Start, on the new thread. Must return: neither throw nor end
    /// the thread itself, or the run would never be over.
    virtual void Run() = 0;
};

/// A scheduling priority, handed to the system as sched_priority without translation. The default
/// policy of Linux knows only PriorityNormal; the real-time policies know 1 to 99, and any number
/// between the names below may be cast to this type. Source: sched(7).
enum ThreadPriority : int {
    PriorityNormal = 0,
    PriorityRealtimeLowest = 1,
    PriorityRealtimeMiddle = 50,
    PriorityRealtimeHighest = 99
};

/// The thread is detached: nothing joins it, and the object and its runnable must outlive the run.
/// The run is over when GetHandle returns 0; the object may then be started again or destroyed.
/// WaitUntilFinished returning true means so too, save for a wake-up without cause, see
/// uEvent::Wait. Any thread may call any operation, but only one at a time WaitUntilFinished.
class KORVA_API uThread
{
public:
    /// Starts nothing. The runnable is not owned and not null. stackSize (bytes) and priority are
    /// recorded; the thread starts with the system's defaults.
    uThread(uRunnable* runnable, ThreadPriority priority, unsigned int stackSize);

    /// Neither stops nor waits for a running thread.
    virtual ~uThread();
    uThread(uThread const&) = delete;
    uThread& operator=(uThread const&) = delete;

    /// Starts the thread; false when the system refuses. Not to be called during a run.
    bool Start();

    bool Suspend(); ///< Not supported: does nothing and returns false.
    bool Resume();  ///< Not supported: does nothing and returns false.

    /// Changes the running thread's priority within its present scheduling policy. False when no
    /// thread runs (the value is then kept for GetPriority alone) or when the system refuses.
    bool SetPriority(ThreadPriority priority);

    /// The running thread's priority as the system reports it; with none, the value last kept.
    ThreadPriority GetPriority() const;

    /// Waits at most timeoutMs milliseconds (0xFFFFFFFF: without limit) for the thread to finish.
    /// False on time-out, and at once when no thread runs.
    bool WaitUntilFinished(unsigned int timeoutMs);

    /// The running thread, 0 when there is none.
    pthread_t GetHandle() const { return m_handle; }

    /// Sleeps for ms milliseconds, or until a signal handler has run.
    static void Sleep(unsigned int ms);
    static void Yield();
    static pthread_t GetCurrent();

    /// The entry of the new thread; arg is the uThread. Always null.
    static void* PosixThreadEntry(void* arg);

private:
    bool createDetached() KORVA_REQUIRES(m_turn);

    uRunnable* m_runnable;
    std::atomic<pthread_t> m_handle{0};
    std::atomic<ThreadPriority> m_priority;
    [[maybe_unused]] unsigned int m_stackSize;
    uEvent m_finished{false};
    // Held while a run begins and while it ends: the new thread cannot clear its handle before
    // Start has stored it, a handle that is not 0 belongs to a living thread, and the old thread
    // leaves the object before anyone starts it again or destroys it.
    mutable uMutex m_turn;
};

} // namespace KORVA
