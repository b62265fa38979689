#pragma once

#include "../util/export.h"

namespace KORVA::DTC {

/// The adapter's application name for logging.
extern KORVA_API char const* logApp;

} // namespace KORVA::DTC
