/// A re-entrant mutex that knows its owner.
///
/// Any thread may call any operation. The object must outlive every call; it is usable from static
/// constructors, because its own constructor is a constant expression.
#pragma once

#include "util/export.h"

#include <atomic>
#include <pthread.h>

namespace KORVA {

class KORVA_API uMutex
{
public:
    constexpr uMutex() = default;
    ~uMutex();
    uMutex(uMutex const&) = delete;
    uMutex& operator=(uMutex const&) = delete;

    /// Blocks until the calling thread owns the mutex. A thread that owns it already only goes one
    /// level deeper. Returns false, with nothing changed, when the system refuses.
    bool Lock();

    /// Gives up one level; the last one frees the mutex. Returns false, with nothing changed, when
    /// the calling thread is not the owner.
    bool Unlock();

    bool IsLocked() const { return m_lockCount.load(std::memory_order_relaxed) > 0; }

    /// The owning thread, 0 while the mutex is free.
    pthread_t GetOwnerThreadHandle() const { return m_owner.load(std::memory_order_relaxed); }

private:
    int addLevels(int levels);

    pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
    // Written by the owner alone, read by anyone: only the owner can find its own handle in
    // m_owner, so no ordering is needed, and m_mutex orders what it guards.
    std::atomic<int> m_lockCount{0};
    std::atomic<pthread_t> m_owner{0};
};

/// Holds one level of a uMutex from construction to destruction.
class [[nodiscard]] uMutexGuard
{
public:
    explicit uMutexGuard(uMutex& mutex) : m_mutex(mutex) { Acquire(); }
    ~uMutexGuard()
    {
        if (m_holds)
            Release();
    }
    uMutexGuard(uMutexGuard const&) = delete;
    uMutexGuard& operator=(uMutexGuard const&) = delete;

    /// Gives the level up for a while; Acquire takes it again.
    void Release()
    {
        m_mutex.Unlock();
        m_holds = false;
    }
    void Acquire()
    {
        m_mutex.Lock();
        m_holds = true;
    }

private:
    uMutex& m_mutex;
    bool m_holds = false;
};

} // namespace KORVA
