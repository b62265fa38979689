#include "tools/dtcctl.h"
#include "tools/dtcctl_box_path.h"

namespace dtcctl {

void addBox(Command const& /*program*/) {}

std::string boxPath(std::string const& path)
{
    return path;
}

} // namespace dtcctl
