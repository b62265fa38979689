/// What a terminal or a script gets to read of texts that may hold anything.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace dtcctl {

using Json = nlohmann::ordered_json;

/// The value on one line of ASCII. A byte of a text that is beyond becomes the escape of its
/// number.
std::string jsonLine(Json value);

/// The text for a terminal: a byte outside printable ASCII becomes \xNN.
std::string printable(std::string const& text);

} // namespace dtcctl
