#pragma once

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

namespace testing_support {

/// Sends a signal with a handler to the thread that made it, again and again, until destroyed. The
/// handler lets system calls be interrupted.
class SignalStorm
{
public:
    SignalStorm() = default;
    ~SignalStorm()
    {
        m_stop = true;
        m_sender.join();
    }

    /// How many signals have been handled so far.
    static unsigned int handled() { return handledSignals; }

private:
    static inline std::atomic<unsigned int> handledSignals{0};
    std::atomic<bool> m_stop{false};
    std::thread m_sender{[this, target = pthread_self()] {
        struct sigaction action = {};
        action.sa_handler = [](int /*signal*/) { ++handledSignals; }; // without SA_RESTART
        sigaction(SIGUSR1, &action, nullptr);
        while (!m_stop) {
            pthread_kill(target, SIGUSR1);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    }};
};

} // namespace testing_support
