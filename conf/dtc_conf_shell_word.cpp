#include "conf/dtc_conf_shell_word.h"

namespace KORVA::DTC::CONF {

std::string shellWord(std::string const& text)
{
    constexpr char const* harmless =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._:/+-";
    if (!text.empty() && text.find_first_not_of(harmless) == std::string::npos)
        return text;
    std::string word = "'";
    for (char const character : text) {
        if (character == '\'')
            word += "'\\''"; // ends the quotes, an escaped quote, begins them again
        else
            word += character;
    }
    return word + "'";
}

} // namespace KORVA::DTC::CONF
