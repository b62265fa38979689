/// Text functions: edit, split, and convert between text and numbers or booleans.
///
/// All are static, keep no state and may run on any threads at once, on different strings. Misuse
/// (null or empty text where text is required, a word that is no boolean) throws uString::error and
/// changes nothing. A function that produces text returns the string it wrote to.
#pragma once

#include "export.h"
#include "source_utilities_error.h"

#include <cstddef>
#include <string>
#include <vector>

namespace KORVA {

class KORVA_API uString
{
public:
    class KORVA_API error : public source_utilities_error
    {
    public:
        using source_utilities_error::source_utilities_error;
        error(error const&) = default;
        error& operator=(error const&) = default;
        ~error() override;
    };

    /// Replaces every occurrence of from, left to right; inserted text is not searched again. An
    /// empty from changes nothing. Throws for a null from or to.
    static std::string& Replace(std::string& s, char const* from, char const* to);

    /// Removes from the end (the start) every character that occurs in chars; a null chars is
    /// empty.
    static std::string& StripTrailing(std::string& s, char const* chars);
    static std::string& StripLeading(std::string& s, char const* chars);

    /// Splits at the first occurrence of the whole delimiter text and returns 2; without one, left
    /// is the whole text, right is empty, and the result is 1, or 0 for an empty text. An empty
    /// delimiter occurs at once: left is empty, right the whole text. left or right may be the
    /// string that text points into. Throws for a null text or delimiter.
    static int Split(char const* text, std::string& left, std::string& right,
                     char const* delimiter);

    /// Appends the pieces between delimiters to parts and returns its new size. Empty pieces count,
    /// except one at the very end. With an empty delimiter the whole text is one piece. Throws for
    /// a null text or delimiter.
    static std::size_t Split(std::vector<std::string>& parts, char const* text,
                             char const* delimiter);

    /// Formats with a printf format that takes one double (null: "%f"), in the C locale of the
    /// process. append adds to out, otherwise out is replaced. The output is cut at 1023
    /// characters.
    static std::string& FromDouble(double value, std::string& out, bool append, char const* format);
    static std::string& FromDouble(std::string& out, double value, char const* format); ///< appends

    /// Formats with a printf format that takes one long (null: plain decimal); otherwise as
    /// FromDouble.
    static std::string& FromLong(long value, std::string& out, bool append, char const* format);
    static std::string& FromLong(std::string& out, long value, char const* format); ///< appends

    /// "true" or "false".
    static std::string& FromBool(bool value, std::string& out, bool append);
    static std::string& FromBool(std::string& out, bool value); ///< appends

    /// Scales by the largest prefix from yotta to yocto that is not greater than value (0, every
    /// negative value and what is smaller still take yocto), formats as FromDouble does, and adds
    /// the prefix's name, or with symbol its letter, without a blank: 1500 gives "1.500000kilo".
    static std::string& FromDoubleInEngrUnits(double value, std::string& out, bool append,
                                              char const* format, bool symbol);
    static std::string& FromDoubleInEngrUnits(std::string& out, double value, char const* format,
                                              bool symbol); ///< appends

    /// "true", "TRUE", "True" and "false", "FALSE", "False"; anything else throws.
    static bool ToBool(char const* text);

    /// Read a number as a formatted stream extraction in the classic locale does: leading white
    /// space and a sign are accepted, reading stops at the first character that cannot go on (a
    /// number that breaks off in its exponent, like "2.5e", counts as none). Text that begins with
    /// "0x" or "0X" is hexadecimal after it, with any other "0" octal; for ToDouble both are only
    /// removed. Text without a number gives 0, a number out of range the nearest limit of the type.
    /// Null or empty text throws.
    static long ToLong(char const* text);
    static long long ToInt64(char const* text);
    static double ToDouble(char const* text);
};

} // namespace KORVA
