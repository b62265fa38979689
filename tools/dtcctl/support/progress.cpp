#include "tools/dtcctl/support/progress.h"

#include <chrono>
#include <cstdio>
#include <unistd.h>
#include <utility>

namespace dtcctl {

Progress::Progress(std::string what) : m_what(std::move(what))
{
    if (isatty(STDERR_FILENO) == 1)
        m_thread = std::thread([this] { show(); });
}

Progress::~Progress()
{
    if (!m_thread.joinable())
        return;
    {
        std::lock_guard<std::mutex> const guard(m_mutex);
        m_hasEnded = true;
    }
    m_ended.notify_one();
    m_thread.join();
}

void Progress::show()
{
    constexpr char const* clearLine = "\r\033[K";
    std::unique_lock<std::mutex> lock(m_mutex);
    for (int seconds = 0; !m_hasEnded; ++seconds) {
        std::fprintf(stderr, "%s%s, %d s", clearLine, m_what.c_str(), seconds);
        m_ended.wait_for(lock, std::chrono::seconds(1), [this] { return m_hasEnded; });
    }
    std::fputs(clearLine, stderr);
}

} // namespace dtcctl
