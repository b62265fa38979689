#pragma once

#include <mutex>
#include <string>

namespace KORVA::DTC::CONF {

/// A text that threads may read and replace at the same time: a server reads the configuration
/// when a client comes, whatever the program's other threads do.
class SharedText
{
public:
    explicit SharedText(char const* text) : m_text(text) {}

    std::string get() const
    {
        std::lock_guard<std::mutex> const guard(m_mutex);
        return m_text;
    }

    void set(std::string text)
    {
        std::lock_guard<std::mutex> const guard(m_mutex);
        m_text.swap(text);
    }

private:
    mutable std::mutex m_mutex;
    std::string m_text;
};

} // namespace KORVA::DTC::CONF
