#include "tools/dtcctl.h"

namespace dtcctl {

void addBox(CLI::App& /*app*/, int& /*status*/) {}

} // namespace dtcctl
