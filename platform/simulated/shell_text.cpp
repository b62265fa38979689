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

/// Whether a path's component ends at the character; inside quotes blanks and the like are parts of
/// names.
bool endsComponent(char character, Quoting quoting)
{
    if (character == '/' || character == '\'' || character == '"')
        return true;
    return quoting == Quoting::None &&
           (character == '=' || std::strchr(wordEnds, character) != nullptr);
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
    Quoting quoting = Quoting::None;
    for (std::size_t i = 0; i < command.size(); ++i) {
        bool const isComponent =
            command.compare(i, 2, "..") == 0 &&
            (i == 0 || endsComponent(command[i - 1], quoting)) &&
            (i + 2 == command.size() || endsComponent(command[i + 2], quoting));
        if (isComponent)
            return true;
        if (command[i] == '\\' && quoting != Quoting::Single)
            ++i; // the next character stands for itself
        else
            quoting = after(quoting, command[i]);
    }
    return false;
}

} // namespace KORVA::DTC::PLATFORM
