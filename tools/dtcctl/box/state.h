#pragma once

#include "tools/dtcctl/support/text.h"

namespace dtcctl {

/// What the simulated box looks like at one moment. Looks at it with its lock for as long as the
/// reading takes, and makes the box when there is none. Throws std::runtime_error when its
/// directory cannot serve.
///
/// An object: "directory"; "leds", each "on", "off" or "released"; "resets", "fpga" and "box", each
/// "released", "held low" or "driven high"; the numbers "board_revision", "fpga_revision" and
/// "pin_multiplexer", a list; "eeprom", whether it is "erased" and the first lines of its "text";
/// "flash", for each partition its "name" and "bytes" and, where it is a directory, its "files",
/// which are told in the same way; "root_file_system", "ro" or "rw"; "network", its "state", "up"
/// or "down", and its "address", null while it is down; "transfers" and "commands", the last lines
/// of the two logs, oldest first.
Json lookAtBox();

} // namespace dtcctl
