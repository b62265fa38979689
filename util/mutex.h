#pragma once

#include "thread_annotations.h"

#include <mutex>

namespace KORVA {

/// std::mutex, known to the analysis of locks. Constant-initialised and trivially destroyed, as
/// that is.
class KORVA_CAPABILITY Mutex
{
public:
    void lock() KORVA_ACQUIRE() { m_mutex.lock(); }
    void unlock() KORVA_RELEASE() { m_mutex.unlock(); }

    /// For a wait on a condition, during which the mutex is free.
    std::mutex::native_handle_type native() { return m_mutex.native_handle(); }

private:
    std::mutex m_mutex;
};

/// Holds a mutex from construction to destruction.
class [[nodiscard]] KORVA_SCOPED_CAPABILITY MutexGuard
{
public:
    explicit MutexGuard(Mutex& mutex) KORVA_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~MutexGuard() KORVA_RELEASE() { m_mutex.unlock(); }
    MutexGuard(MutexGuard const&) = delete;
    MutexGuard& operator=(MutexGuard const&) = delete;

private:
    Mutex& m_mutex;
};

} // namespace KORVA
