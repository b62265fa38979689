#include "tests/support/signal_storm.h"

#include <chrono>
#include <csignal>

namespace testing_support {
namespace {

std::atomic<unsigned int> handledSignals{0};

void onSignal(int /*signal*/)
{
    ++handledSignals;
}

} // namespace

SignalStorm::SignalStorm()
{
    struct sigaction action = {};
    action.sa_handler = onSignal; // without SA_RESTART
    sigaction(SIGUSR1, &action, nullptr);
    m_sender = std::thread([this, target = pthread_self()] {
        while (!m_stop) {
            pthread_kill(target, SIGUSR1);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    });
}

SignalStorm::~SignalStorm()
{
    m_stop = true;
    m_sender.join();
}

unsigned int SignalStorm::handled()
{
    return handledSignals;
}

} // namespace testing_support
