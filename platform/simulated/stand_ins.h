#pragma once

#include <string>

namespace KORVA::DTC::PLATFORM {

/// Puts the box's commands into a new box: stand-ins that keep real state in the box's directory,
/// wrappers of a few harmless tools of the desk, and the state they begin with (root file system
/// read-only, network down).
void writeStandIns(std::string const& root);

} // namespace KORVA::DTC::PLATFORM
