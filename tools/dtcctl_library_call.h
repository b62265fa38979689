#pragma once

#include "tools/dtcctl_diagnostics.h"

#include <csignal>

namespace dtcctl {

/// While it lives, the signals by which a person or the system ends a program wait, for the
/// commands that the library starts too: a half-run one would leave the root file system writable,
/// and an ended program its lock on the bus.
class [[nodiscard]] HeldSignals
{
public:
    HeldSignals();
    ~HeldSignals();
    HeldSignals(HeldSignals const&) = delete;
    HeldSignals& operator=(HeldSignals const&) = delete;

private:
    sigset_t m_before;
};

/// Around each call that reads or changes the box's configuration, which connecting does too.
class [[nodiscard]] LibraryCall
{
    HeldSignals m_signals;
    DiagnosticsToStderr m_diagnostics;
};

} // namespace dtcctl
