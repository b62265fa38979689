/// The variable set: an ordered list of (name, value) texts, and what finds, changes and cleans its
/// entries.
///
/// Names are compared exactly; of several pairs with one name the first counts. A list is for one
/// thread at a time.
#pragma once

#include "../util/export.h"

#include <string>
#include <utility>
#include <vector>

namespace KORVA::DTC::CONF {

using VariableList = std::vector<std::pair<std::string, std::string>>;

/// The box's configuration: such a list, and the operations that fill it from the box and store it
/// back. New, it is empty. The order of the virtual operations is part of the binary interface.
///
/// read, write and restore block. Threads and programs may call them at the same time, as a server
/// does when a client comes, and each has its turn on the bus; but of two that write, the one that
/// is later wins whole, so writers take turns. They throw CONF::Exception (PeripheralAccessFailed,
/// OperationFailed, SystemCallFailed); PERIPH::Exception when another process holds the lock "i2c"
/// for five seconds (Timeout) or the FPGA's page cannot be mapped (MapFailed); and uString::error
/// when SAFEMODE, ROVERKIT or RNDISMODE in the environment is no boolean. They blink the third LED,
/// which shows once its init has made the pin an output. The blinking waits for the lock for one
/// second only; a Timeout then comes when all else that was asked for, writing too, is done.
/// No thread may be cancelled in this library.
class KORVA_API Vars : public VariableList
{
public:
    /// Keeps a copy of the text (not null), which nothing reads; callers pass "".
    explicit Vars(char const* connection);
    Vars(Vars const&) = default;
    Vars& operator=(Vars const&) = default;
    virtual ~Vars();

    /// Replaces the list by the box's current configuration: the defaults, over them what the
    /// EEPROM stores, over that the live values of the system, the FPGA and this process. One
    /// blink; takes 120 ms and two shell commands. A failure leaves what was there by then.
    virtual void read();

    /// Takes the list as a request: merges it into the current configuration, stores that as the
    /// image, sets the clock, and then acts on safeMode, _control, _error and standbyMinutes (a
    /// number above 20) in the list's order. Any name is accepted; what is neither stored nor acted
    /// on has no effect. While the environment variable IPCONFIG is "off", the first ipConfig is
    /// removed from the list. Otherwise the list stays as it is: read afterwards to see the result.
    /// Two blinks; takes 340 ms, 5 ms a page of the image, and two commands or more; with safeMode
    /// 25 ms more, with EnableInetd in _control five seconds. Variables that are too large fail
    /// before anything is written; any other failure stops it, and what was done before stays done.
    virtual void write();

    /// Resets the box to the defaults and leaves the list holding them. In safe mode it only reads,
    /// which is no error, unless _control is AllowUnsafeRestore. The standby minutes stay.
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
KORVA_API void setValue(char const* name, char const* value, VariableList& vars);

/// setValue for each pair of updates, in order.
KORVA_API void updateVars(VariableList& vars, VariableList const& updates);

/// Cleans the text in a buffer of size bytes, in place: tabs become blanks, and of the rest only
/// line feeds and the bytes 32 to 126 stay. A zero byte ends the text and is moved up with it;
/// without one among the size bytes nothing is written behind the last byte kept.
KORVA_API void filterChars(char* text, unsigned int size);

} // namespace KORVA::DTC::CONF
