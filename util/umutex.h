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

    bool IsLocked() const { return m_lockCount > 0; }

    /// The owning thread, 0 while the mutex is free.
    pthread_t GetOwnerThreadHandle() const { return m_owner; }

private:
    pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
    // Read without the mutex: only the owning thread can find its own handle in m_owner.
    std::atomic<int> m_lockCount{0};
    std::atomic<pthread_t> m_owner{0};
};

/// Holds one level of a uMutex from construction to destruction.
class uMutexGuard
{
public:
    explicit uMutexGuard(uMutex& mutex) : m_mutex(mutex) { m_mutex.Lock(); }
    ~uMutexGuard() { m_mutex.Unlock(); }
    uMutexGuard(uMutexGuard const&) = delete;
    uMutexGuard& operator=(uMutexGuard const&) = delete;

private:
    uMutex& m_mutex;
};

} // namespace KORVA
