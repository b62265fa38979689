/// The directory that is the simulated box: where it lies, how it comes into being, its lock and
/// its logs.
#pragma once

#include "util/descriptor.h"

#include <string>
#include <sys/types.h>

namespace KORVA::DTC::PLATFORM {

/// The box's directory, made complete if it does not exist yet: DTC_BOX_ROOT, else a private
/// directory of the user's own. Throws std::runtime_error that says what is wrong with a directory
/// that cannot serve.
std::string boxRoot();

/// Makes the box as it was when new, in its place: programs that have its devices open go on with
/// the new state.
void renewBox();

/// Puts the box's commands into a new box: stand-ins that keep real state in the box's directory,
/// wrappers of a few harmless tools of the desk, and the state they begin with (root file system
/// read-only, network down).
void writeStandIns(std::string const& root);

constexpr off_t fpgaRevisionRegister = 0x06000000; ///< its place in the memory

/// Puts back what the register holds that the hardware lets nobody write: the FPGA's revision,
/// which is kept in run/fpga-revision, as strtoul(3) reads it. Memory traps no write, so whoever
/// comes to the box does this. Call with the box's lock.
void restoreRegisters(std::string const& root);

/// Keeps other processes out of the box's state while it lives. A process that dies gives it up.
class BoxLock
{
public:
    explicit BoxLock(std::string const& root);

    bool isHeld() const { return m_isHeld; }

private:
    OwnedDescriptor m_file;
    bool m_isHeld = false;
};

/// Appends a line, with the time and the process before it, to a log of the box ("transfers",
/// "commands"). A log that has grown beyond a megabyte becomes NAME.log.1 and a new one begins.
/// Call with the box's lock.
void appendToLog(std::string const& root, char const* name, std::string const& line);

/// Replaces a small file as a whole: readers see the old content or the new one.
void writeFile(std::string const& path, std::string const& content, unsigned int mode = 0644);

} // namespace KORVA::DTC::PLATFORM
