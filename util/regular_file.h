/// Text files in a directory where others may put things too, such as /tmp: a symbolic link, a FIFO
/// or a device under the file's name is refused, never followed or waited for. Any thread may call.
#pragma once

#include "util/file_stream.h"

#include <string>

namespace KORVA {

/// Opens the file for reading. Null, with errno, when it cannot be, or is no regular file.
FileStream openRegularFile(std::string const& path);

/// Gives the file this content and no other, or leaves it as it is: the text goes into a new file
/// beside it, with the permissions that fopen(3) would give it, which then takes its name. Whoever
/// has the old one open keeps that, and another name of it keeps the old content.
///
/// Where no second file can be made (no room on the disk, no permission in the directory), the text
/// is written over the old one in place, unless that has another name: then who reads meanwhile, or
/// a crash, can meet the new text with more lines, the rest of a longer old text, behind it. False
/// when the name belongs to anything but a regular file, or not all of the text could be written.
[[nodiscard]] bool replaceRegularFile(std::string const& path, std::string const& text);

} // namespace KORVA
