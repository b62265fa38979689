#include "platform/simulated/shell_text.h"

#include <cstring>

namespace KORVA::DTC::PLATFORM {
namespace {

/// Where in the shell's text a character stands.
enum class Quoting { None, Single, Double };

constexpr char const* wordEnds = " \t\n;&|()<>'\"`";

/// A '/' that stands alone is the root itself, and left to the command.
bool beginsPath(std::string const& text, std::size_t position)
{
    return text[position] == '/' && position + 1 < text.size() &&
           std::strchr(wordEnds, text[position + 1]) == nullptr;
}

bool beginsWord(std::string const& text, std::size_t position, Quoting quoting)
{
    if (position == 0)
        return true;
    char const before = text[position - 1];
    if (quoting != Quoting::None)
        return before == (quoting == Quoting::Single ? '\'' : '"');
    return std::strchr(" \t\n;&|()<>=`", before) != nullptr;
}

/// What stands for the box's directory, spaces and quotes in its name included.
char const* boxIn(Quoting quoting)
{
    switch (quoting) {
    case Quoting::Single:
        return "'\"$DTC_BOX\"'";
    case Quoting::Double:
        return "$DTC_BOX";
    default:
        return "\"$DTC_BOX\"";
    }
}

Quoting after(Quoting quoting, char character)
{
    if (character == '\'' && quoting != Quoting::Double)
        return quoting == Quoting::Single ? Quoting::None : Quoting::Single;
    if (character == '"' && quoting != Quoting::Single)
        return quoting == Quoting::Double ? Quoting::None : Quoting::Double;
    return quoting;
}

} // namespace

std::string ledUnderBox(std::string const& command)
{
    std::string led;
    Quoting quoting = Quoting::None;
    for (std::size_t i = 0; i < command.size(); ++i) {
        char const character = command[i];
        if (character == '\\' && quoting != Quoting::Single && i + 1 < command.size()) {
            led.append({character, command[++i]});
            continue;
        }
        if (beginsPath(command, i) && beginsWord(command, i, quoting))
            led += boxIn(quoting);
        led += character;
        quoting = after(quoting, character);
    }
    return led;
}

bool climbs(std::string const& command)
{
    auto const isEdge = [&command](std::size_t position) {
        return position >= command.size() || command[position] == '/' || command[position] == '=' ||
               std::strchr(wordEnds, command[position]) != nullptr;
    };
    for (std::size_t found = command.find(".."); found != std::string::npos;
         found = command.find("..", found + 1)) {
        if ((found == 0 || isEdge(found - 1)) && isEdge(found + 2))
            return true;
    }
    return false;
}

} // namespace KORVA::DTC::PLATFORM
