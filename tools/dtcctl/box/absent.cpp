#include "tools/dtcctl/box/path.h"
#include "tools/dtcctl/commands.h"

namespace dtcctl {

void addBox(CLI::App& /*program*/) {}

std::string boxPath(std::string const& path)
{
    return path;
}

} // namespace dtcctl
