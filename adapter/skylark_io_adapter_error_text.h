#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>

namespace KORVA::DTC {

/// The text of the last failure. Any threads may fail, and copy the text, at the same time.
///
/// Each failure takes the oldest of a handful of strings, which keep their memory: failing again
/// and again allocates nothing, and a pointer to the text outlives the next few failures of other
/// threads.
class ErrorText
{
public:
    void set(std::string_view text);
    void set(ErrorText const& other);
    char const* c_str() const { return m_texts[m_current].c_str(); }

private:
    mutable std::mutex m_mutex;
    std::array<std::string, 8> m_texts;
    std::atomic<std::size_t> m_current{0};
};

} // namespace KORVA::DTC
