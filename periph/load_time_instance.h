#pragma once

#include <atomic>
#include <exception>
#include <memory>
#include <mutex>
#include <utility>

namespace KORVA::DTC::PERIPH {

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
        std::lock_guard<std::mutex> const guard(m_mutex);
        if (m_failure != nullptr)
            std::rethrow_exception(std::exchange(m_failure, nullptr));
        if (m_made == nullptr)
            make();
        return *m_driver;
    }

private:
    void make()
    {
        m_driver = std::make_unique<Driver>();
        m_made = m_driver.get();
    }

    std::mutex m_mutex;
    std::exception_ptr m_failure;
    std::unique_ptr<Driver> m_driver;
    std::atomic<Driver*> m_made{nullptr};
};

} // namespace KORVA::DTC::PERIPH
