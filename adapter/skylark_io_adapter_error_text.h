#pragma once

#include "util/mutex.h"

#include <array>
#include <atomic>
#include <cstddef>
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
    /// Without the lock: the text that counts is not written to.
    char const* c_str() const KORVA_NO_THREAD_SAFETY_ANALYSIS { return m_texts[m_current].c_str(); }

private:
    mutable Mutex m_mutex;
    std::array<std::string, 8> m_texts KORVA_GUARDED_BY(m_mutex);
    std::atomic<std::size_t> m_current{0};
};

} // namespace KORVA::DTC
