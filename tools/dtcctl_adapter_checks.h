/// The rules that every adapter library keeps, and how each is checked.
#pragma once

#include "tools/dtcctl_adapter_end.h"

#include <vector>

namespace dtcctl {

/// How far a library has come; a check needs what earlier ones have shown.
enum class Stage { Loaded, Serves, Connects, Exchanges };

struct Check
{
    char const* rule;
    Stage needs;
    Stage shows;                ///< What the library has shown when the check is ok.
    std::vector<Entry> entries; ///< Those it calls, beside those of its stage.
    void (*server)(CheckSide& side);
    void (*client)(CheckSide& side); ///< Null: one process does it alone.
};

/// In the order in which they run.
std::vector<Check> adapterChecks();

/// Those that need no other side, and those that need one.
std::vector<Check> checksAlone();
std::vector<Check> checksWithPeer();

/// The entry points without which no library gets to the stage. For sending either will do.
std::vector<Entry> entriesOf(Stage stage);

/// DTC_IO_Local_Id and DTC_IO_Get_State of a connection.
void checkIdAndState(CheckSide& side, End& end);

/// The time-outs of an end with nothing to receive; where mayBeAlone DTC_IO_DISCONNECTED will do as
/// well, and at once.
void checkTimeouts(End& end, bool mayBeAlone);

/// Whether a file is mapped into this process.
bool isMapped(std::string const& path);

} // namespace dtcctl
