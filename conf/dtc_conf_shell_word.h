#pragma once

#include <string>

namespace KORVA::DTC::CONF {

/// The text as one word of a shell command: as it stands when it has only letters, digits and
/// "._:/+-", otherwise in single quotes. Whatever it holds, it cannot become a second command or a
/// second word.
std::string shellWord(std::string const& text);

} // namespace KORVA::DTC::CONF
