/// A re-entrant mutex that knows its owner.
///
/// Any thread may call any operation. The object must outlive every call; it is usable from static
/// constructors, because its own constructor is a constant expression.
#pragma once

#include "export.h"
#include "thread_annotations.h"

#include <atomic>
#include <pthread.h>

namespace KORVA {

class KORVA_API KORVA_CAPABILITY uMutex
{
public:
    constexpr uMutex() = default;
    ~uMutex();
    uMutex(uMutex const&) = delete;
    uMutex& operator=(uMutex const&) = delete;

    /// Blocks until the calling thread owns the mutex. A thread that owns it already only goes one
    /// level deeper. Returns false, with nothing changed, when the system refuses.
    bool Lock() KORVA_ACQUIRE();

    /// Gives up one level; the last one frees the mutex. Returns false, with nothing changed, when
    /// the calling thread is not the owner.
    bool Unlock() KORVA_RELEASE();

    bool IsLocked() const { return m_lockCount.load(std::memory_order_relaxed) > 0; }

    /// The owning thread, 0 while the mutex is free.
    pthread_t GetOwnerThreadHandle() const { return m_owner.load(std::memory_order_relaxed); }

private:
    friend class uMutexGuard;

    /// Lock and Unlock for a caller that knows its thread. They stand here to become part of their
    /// callers: each message takes two turns.
    bool acquire(pthread_t self) KORVA_ACQUIRE()
    {
        bool const owns = pthread_equal(m_owner.load(std::memory_order_relaxed), self) != 0;
        if (!owns && pthread_mutex_lock(&m_mutex) != 0)
            return false;
        addLevels(1);
        if (!owns)
            m_owner.store(self, std::memory_order_relaxed);
        return true;
    }
    bool release(pthread_t self) KORVA_RELEASE()
    {
        if (!pthread_equal(m_owner.load(std::memory_order_relaxed), self))
            return false;
        if (m_lockCount.load(std::memory_order_relaxed) <= 0)
            return true;
        if (addLevels(-1) == 0) {
            m_owner.store(0, std::memory_order_relaxed);
            pthread_mutex_unlock(&m_mutex);
        }
        return true;
    }

    /// Only the owner calls, so no read-modify-write instruction is needed.
    int addLevels(int levels)
    {
        int const count = m_lockCount.load(std::memory_order_relaxed) + levels;
        m_lockCount.store(count, std::memory_order_relaxed);
        return count;
    }

    pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
    // Written by the owner alone, read by anyone: only the owner can find its own handle in
    // m_owner, so no ordering is needed, and m_mutex orders what it guards.
    std::atomic<int> m_lockCount{0};
    std::atomic<pthread_t> m_owner{0};
};

/// Holds one level of a uMutex from construction to destruction. It belongs to the thread that made
/// it.
class [[nodiscard]] KORVA_SCOPED_CAPABILITY uMutexGuard
{
public:
    explicit uMutexGuard(uMutex& mutex) KORVA_ACQUIRE(mutex) : m_mutex(mutex) { Acquire(); }
    ~uMutexGuard() KORVA_RELEASE() { Release(); }
    uMutexGuard(uMutexGuard const&) = delete;
    uMutexGuard& operator=(uMutexGuard const&) = delete;

    /// Gives the level up for a while; Acquire takes it again. A second call in a row does nothing.
    void Release() KORVA_RELEASE()
    {
        if (!m_holds)
            return;
        m_mutex.release(m_thread);
        m_holds = false;
    }
    void Acquire() KORVA_ACQUIRE()
    {
        if (!m_holds)
            m_holds = m_mutex.acquire(m_thread);
    }

private:
    uMutex& m_mutex;
    pthread_t const m_thread = pthread_self();
    bool m_holds = false;
};

} // namespace KORVA
