#include "util/build_info.h"

#include "build_version.h"

namespace KORVA {

char const buildVersion[] = SKYLARK_BUILD_VERSION;
char const buildTime[] = __DATE__ " " __TIME__;

} // namespace KORVA
