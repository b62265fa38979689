#pragma once

#include "util/mutex.h"

#include <atomic>
#include <exception>
#include <memory>
#include <utility>

namespace KORVA {

/// What the library's calls work with is made when the library is loaded, before the adapter, and
/// so destroyed after it: a thread may be inside a call until then. It is an object of a namespace
/// with this priority, [[gnu::init_priority(BeforeAdapter)]], in whatever order the files are
/// linked; the adapter's own have none. None of these objects uses another to be made.
enum InitPriority : int { BeforeAdapter = 1000 };

/// A driver's one instance, made when the library is loaded. What that throws does not break
/// loading: the first use throws it, and each later use tries again to make the instance.
template <typename Driver>
class LoadTimeInstance
{
public:
    LoadTimeInstance() noexcept
    {
        try {
            make();
        } catch (...) {
            m_failure = std::current_exception();
        }
    }

    Driver& get()
    {
        if (Driver* const made = m_made)
            return *made;
        MutexGuard const guard(m_mutex);
        if (m_failure != nullptr)
            std::rethrow_exception(std::exchange(m_failure, nullptr));
        if (m_made == nullptr)
            make();
        return *m_driver;
    }

private:
    void make() KORVA_REQUIRES(m_mutex)
    {
        m_driver = std::make_unique<Driver>();
        m_made = m_driver.get();
    }

    Mutex m_mutex;
    std::exception_ptr m_failure KORVA_GUARDED_BY(m_mutex);
    std::unique_ptr<Driver> m_driver KORVA_GUARDED_BY(m_mutex);
    std::atomic<Driver*> m_made{nullptr};
};

} // namespace KORVA
