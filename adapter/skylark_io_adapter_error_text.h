#pragma once

#include <array>
#include <atomic>
#include <mutex>
#include <string>
#include <string_view>

namespace KORVA::DTC {

/// The text of the last failure, written and read by any threads.
///
/// A reader's pointer outlives the next few failures of other threads, so that one thread can copy
/// its text while another fails: each failure takes the oldest of a handful of strings, which keep
/// their memory, so that failing again and again allocates nothing.
class ErrorText
{
public:
    void set(std::string_view text);
    char const* c_str() const { return m_texts[m_current].c_str(); }

private:
    std::mutex m_mutex;
    std::array<std::string, 8> m_texts;
    std::atomic<std::size_t> m_current{0};
};

} // namespace KORVA::DTC
