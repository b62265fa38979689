/// How many minutes without use pass until the box stands by: one text for the process, initially
/// "20". Nothing in the library acts on it, and no reading of the variables shows it, because no
/// source puts a pair of its name into the list. Only this process sets it, by Vars::write with the
/// variable standbyMinutes; threads may use it at the same time.
#pragma once

#include <string>

namespace KORVA::DTC::CONF {

std::string standbyMinutes();

/// Takes a decimal number above 20, whatever follows it; other text changes nothing.
void setStandbyMinutes(std::string const& value);

} // namespace KORVA::DTC::CONF
