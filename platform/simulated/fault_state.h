#pragma once

#include "platform/simulated/faults.h"

#include <optional>

namespace KORVA::DTC::PLATFORM::FAULTS {

/// What is to happen to the transfer that begins now; counts it.
std::optional<Transfer> nextTransfer();

bool isHidden(char const* boxPath);
bool isBindingRefused();
bool isMappingRefused();

/// Whether the shell command that begins now cannot be started; counts it.
bool isNextCommandRefused();

} // namespace KORVA::DTC::PLATFORM::FAULTS
