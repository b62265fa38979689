/// Faults on demand in the simulated box, for tests. They hold for this process, and several at a
/// time.
#pragma once

#include <optional>

namespace KORVA::DTC::PLATFORM::FAULTS {

enum class Transfer {
    Fails,  ///< with EIO, without reaching the device
    IsShort ///< one byte fewer than asked reaches the device, or comes from it
};

/// The n-th I2C transfer from now on (1: the next one), or that one and all after it.
void onTransfer(unsigned int n, Transfer fault, bool andAllAfter = false);

/// Transfers begun since the last onTransfer or clear.
unsigned int transfers();

/// A device node that is missing: opening it fails with ENOENT. boxPath must stay valid until
/// clear.
void hideNode(char const* boxPath);

void refuseBinding();
void refuseMapping();
void refuseShell();

/// The n-th shell command from now on (1: the next one) cannot be started.
void refuseCommand(unsigned int n);

/// No faults any more.
void clear();

// For the box itself.

/// What is to happen to the transfer that begins now; counts it.
std::optional<Transfer> nextTransfer();

bool isHidden(char const* boxPath);
bool isBindingRefused();
bool isMappingRefused();

/// Whether the shell command that begins now cannot be started; counts it.
bool isNextCommandRefused();

} // namespace KORVA::DTC::PLATFORM::FAULTS
