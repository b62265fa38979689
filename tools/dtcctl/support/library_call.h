#pragma once

#include <skylark_io/periph/dtc_periph_lock.h>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

namespace dtcctl {

/// While it lives, the signals by which a person or the system ends a program wait, for the
/// commands that the library starts too: a half-run one would leave the root file system writable,
/// and an ended program its lock on the bus.
class [[nodiscard]] HeldSignals
{
public:
    HeldSignals()
    {
        sigset_t held;
        sigemptyset(&held);
        for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGPIPE})
            sigaddset(&held, signal);
        pthread_sigmask(SIG_BLOCK, &held, &m_before);
    }
    ~HeldSignals() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    HeldSignals(HeldSignals const&) = delete;
    HeldSignals& operator=(HeldSignals const&) = delete;

private:
    sigset_t m_before{};
};

/// While it lives, what the library prints on standard output goes to standard error: standard
/// output is for results.
class [[nodiscard]] DiagnosticsToStderr
{
public:
    DiagnosticsToStderr() : m_output(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3))
    {
        std::fflush(stdout);
        if (m_output != -1)
            dup2(STDERR_FILENO, STDOUT_FILENO);
    }
    ~DiagnosticsToStderr()
    {
        std::fflush(stdout);
        if (m_output == -1)
            return;
        dup2(m_output, STDOUT_FILENO);
        close(m_output);
    }
    DiagnosticsToStderr(DiagnosticsToStderr const&) = delete;
    DiagnosticsToStderr& operator=(DiagnosticsToStderr const&) = delete;

private:
    int m_output;
};

/// Around each call that reads or changes the box's configuration, which connecting does too.
class [[nodiscard]] LibraryCall
{
    HeldSignals m_signals;
    DiagnosticsToStderr m_diagnostics;
};

constexpr unsigned int pinTimeoutMs = 1000;
constexpr unsigned int eepromTimeoutMs = 5000;

/// Holds the lock of the I2C bus, and the signals that would end or stop the program back: a lock
/// left behind would keep every program off the bus.
class [[nodiscard]] BusHold
{
public:
    /// Throws as LOCK::acquire does when the lock is not to be had in so many milliseconds.
    explicit BusHold(unsigned int timeoutMs) : m_hold(m_lock, timeoutMs, intervalMs) {}

private:
    static constexpr unsigned int intervalMs = 10; ///< between two attempts to take the lock

    HeldSignals m_signals; // first taken, last given up
    KORVA::DTC::PERIPH::I2C_LOCK m_lock;
    KORVA::DTC::PERIPH::LockHold m_hold;
};

} // namespace dtcctl
