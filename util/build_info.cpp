#include "util/build_info.h"

#include "build_version.h"

namespace KORVA {

char const* buildVersion()
{
    return SKYLARK_BUILD_VERSION;
}

char const* buildTime()
{
    return __DATE__ " " __TIME__;
}

} // namespace KORVA
