/// The rules that every adapter library keeps, and how each is checked.
#pragma once

#include "tools/dtcctl/adapter_check/end.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace dtcctl {

/// How far a library has come; a check needs what earlier ones have shown.
enum class Stage { Loaded, Serves, Connects, Exchanges };

struct Check
{
    char const* rule;
    Stage needs;
    Stage shows; ///< What the library has shown when the check is ok.
    std::function<void(CheckSide&)> server;
    std::function<void(CheckSide&)> client{}; ///< Empty: one process does it alone.
    /// A library without it is not asked: a side that notices halfway has to be ended together with
    /// the other one, which may hold something of the machine just then.
    std::optional<Entry> optional{};
};

/// In the order in which they run.
std::vector<Check> adapterChecks();

/// Whether a file is mapped into this process.
bool isMapped(std::string const& path);

} // namespace dtcctl
