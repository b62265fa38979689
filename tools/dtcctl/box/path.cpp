#include "tools/dtcctl/box/path.h"

#include "platform/platform.h"

namespace dtcctl {

std::string boxPath(std::string const& path)
{
    return KORVA::DTC::PLATFORM::path(path.c_str());
}

} // namespace dtcctl
