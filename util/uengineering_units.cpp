#include "util/uengineering_units.h"

namespace KORVA {

uEngineeringUnits::~uEngineeringUnits() = default;

} // namespace KORVA
