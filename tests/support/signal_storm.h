#pragma once

#include <atomic>
#include <pthread.h>
#include <thread>

namespace testing_support {

/// Sends a signal with a handler to the thread that made it, again and again, until destroyed. The
/// handler lets system calls be interrupted.
class SignalStorm
{
public:
    SignalStorm();
    ~SignalStorm();
    SignalStorm(SignalStorm const&) = delete;
    SignalStorm& operator=(SignalStorm const&) = delete;

    /// How many signals have been handled so far.
    static unsigned int handled();

private:
    std::atomic<bool> m_stop{false};
    std::thread m_sender;
};

} // namespace testing_support
