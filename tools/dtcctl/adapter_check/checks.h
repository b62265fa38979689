/// The rules that every adapter library keeps, and how each is checked.
#pragma once

#include "tools/dtcctl/adapter_check/end.h"

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

// Its parts: the first needs no other side.
std::vector<Check> checksAlone();
std::vector<Check> checksOfConnecting();
std::vector<Check> checksOfMessages();
std::vector<Check> checksOfClosing();

/// A check that needs a library that exchanges messages.
Check exchanging(char const* rule, std::vector<Entry> const& entries, void (*server)(CheckSide&),
                 void (*client)(CheckSide&));

/// The entry points without which no library gets to the stage. For sending either will do.
std::vector<Entry> entriesOf(Stage stage);

/// A server's side: serves as every serving program does, until the client is done.
void echoServer(CheckSide& side);

/// The client's counterpart: a connection to the server, once that is there.
End openPeer(CheckSide& side);

/// DTC_IO_Local_Id and DTC_IO_Get_State of a connection.
void checkIdAndState(CheckSide& side, End& end);

/// The time-outs of an end with nothing to receive; where mayBeAlone DTC_IO_DISCONNECTED will do as
/// well, and at once.
void checkTimeouts(End& end, bool mayBeAlone);

/// Whether a file is mapped into this process.
bool isMapped(std::string const& path);

} // namespace dtcctl
