#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>

namespace dtcctl {

/// While it lives, shows on a terminal at standard error for how many seconds something has been
/// going on.
class Progress
{
public:
    explicit Progress(std::string what) : m_what(std::move(what))
    {
        if (isatty(STDERR_FILENO) == 1)
            m_thread = std::thread([this] { show(); });
    }

    ~Progress()
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

    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

private:
    void show()
    {
        constexpr char const* clearLine = "\r\033[K";
        std::unique_lock<std::mutex> lock(m_mutex);
        for (int seconds = 0; !m_hasEnded; ++seconds) {
            std::fprintf(stderr, "%s%s, %d s", clearLine, m_what.c_str(), seconds);
            m_ended.wait_for(lock, std::chrono::seconds(1), [this] { return m_hasEnded; });
        }
        std::fputs(clearLine, stderr);
    }

    std::string const m_what;
    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_hasEnded = false;
    std::thread m_thread;
};

} // namespace dtcctl
