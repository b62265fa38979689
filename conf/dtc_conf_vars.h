/// The variable set: an ordered list of (name, value) texts, and what finds, changes and cleans its
/// entries.
///
/// Names are compared exactly; of several pairs with one name the first counts. A list is for one
/// thread at a time.
#pragma once

#include "util/export.h"

#include <string>
#include <utility>
#include <vector>

namespace KORVA::DTC::CONF {

/// The box's configuration: such a list, and the operations that fill it from the box and store it
/// back. New, it is empty. The order of the virtual operations is part of the binary interface.
class KORVA_API Vars : public std::vector<std::pair<std::string, std::string>>
{
public:
    /// Keeps a copy of the text (not null), which nothing reads; callers pass "".
    explicit Vars(char const* connection);
    Vars(Vars const&) = default;
    Vars& operator=(Vars const&) = default;
    virtual ~Vars();

    /// Replaces the list by the box's current configuration: the defaults, over them what the
    /// EEPROM stores, over that the live values of the system, the FPGA and this process. Blinks
    /// the third LED once. Takes tens of milliseconds, or seconds when the lock "i2c" is held
    /// elsewhere. A failure leaves what was there by then.
    virtual void read();

    /// Takes the list as a request: merges it into the current configuration, stores the image and
    /// sets the clock, and acts on safeMode, _control, _error and standbyMinutes. Blinks the third
    /// LED twice. A failure stops it; what was done before stays done. Any name is accepted; what
    /// is neither stored nor acted on has no effect.
    virtual void write();

    /// Resets the box to the defaults and leaves the list holding them, except in safe mode, unless
    /// _control is AllowUnsafeRestore: then only reads.
    virtual void restore();

    /// The value of the first pair with the name, to read or to assign to; valid until the list
    /// changes. Throws InvalidVariableName, with the name, when there is none, and NullParameter
    /// for a null name.
    virtual std::string& getVar(char const* name);

private:
    std::string m_connection;
};

/// Sets the first pair of the name, or appends one. Any name and value are taken; null throws
/// NullParameter.
KORVA_API void setValue(char const* name, char const* value,
                        std::vector<std::pair<std::string, std::string>>& vars);

/// setValue for each pair of updates, in order.
KORVA_API void updateVars(std::vector<std::pair<std::string, std::string>>& vars,
                          std::vector<std::pair<std::string, std::string>> const& updates);

/// Cleans the text in a buffer of size bytes, in place: tabs become blanks, and of the rest only
/// line feeds and the bytes 32 to 126 stay. A zero byte ends the text and is moved up with it;
/// without one among the size bytes nothing is written behind the last byte kept.
KORVA_API void filterChars(char* text, unsigned int size);

} // namespace KORVA::DTC::CONF
