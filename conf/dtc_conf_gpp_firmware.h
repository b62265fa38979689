/// Firmware: writing an uploaded archive to the flash, and deleting an upload.
///
/// Both run shell commands for which the root file system is writable meanwhile; it is read-only
/// again whenever they return or throw, unless no shell can be started for that. Not locked:
/// callers serialise. Not to be interrupted: what ends the process ends a command half-way.
#pragma once

#include "../util/export.h"

namespace KORVA::DTC::CONF {

/// What an archive may hold, in the order in which it is written, and the numbers of the flash
/// partitions that it goes to.
struct FirmwareImage
{
    char const* name;
    char const* partitionInSafeMode;
    char const* partitionOtherwise;
};
constexpr FirmwareImage firmwareImages[] = {{"rootfs.tar.gz", "5", "3"}, {"uImage", "4", "2"}};

/// Unpacks the archive "/tmp/NAME", NAME being what follows the last "/" in file, in "/tmp" and
/// deletes it; then writes the images, where "/tmp" now has them. Takes seconds to minutes.
///
/// Returns how many of the two names occur in the listing of "/tmp", also as a part of another
/// name: commands that fail, as for a damaged archive or a worn flash, are not noticed. Throws
/// NullParameter for null; OperationFailed outside safe mode, unless the variable _control is
/// AllowUnsafeUpdate, and for a name with a line break, which no command can carry;
/// SystemCallFailed when the shell cannot be started; and what Vars::read throws.
KORVA_API int store(char const* file);

/// Deletes the file of that name from "/tmp", if it is there. Throws as store does for the name and
/// the shell.
KORVA_API void remove(char const* file);

} // namespace KORVA::DTC::CONF
