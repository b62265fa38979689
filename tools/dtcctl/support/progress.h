#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace dtcctl {

/// While it lives, shows on a terminal at standard error for how many seconds something has been
/// going on.
class Progress
{
public:
    explicit Progress(std::string what);
    ~Progress();
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

private:
    void show();

    std::string const m_what;
    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_hasEnded = false;
    std::thread m_thread;
};

} // namespace dtcctl
