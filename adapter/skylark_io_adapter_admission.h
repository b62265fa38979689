#pragma once

namespace KORVA::DTC {

/// Whether the configuration, as it is now, admits a client at the dotted address: not when another
/// machine holds the box, unless several may, nor when the filter refuses it. The first LED blinks
/// once or twice to say so. A client that cannot be judged is refused without a sign.
bool isAdmitted(char const* address, bool severalMachines) noexcept;

} // namespace KORVA::DTC
