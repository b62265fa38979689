/// What the configuration keeps for the process: three texts, which no other program sees.
#pragma once

#include "util/mutex.h"

#include <string>

namespace KORVA::DTC::CONF {

/// A text that threads may read and replace at the same time: a server reads the configuration
/// when a client comes, whatever the program's other threads do.
class SharedText
{
public:
    explicit SharedText(char const* text) : m_text(text) {}

    std::string get() const
    {
        MutexGuard const guard(m_mutex);
        return m_text;
    }

    void set(std::string text)
    {
        MutexGuard const guard(m_mutex);
        m_text.swap(text);
    }

private:
    mutable Mutex m_mutex;
    std::string m_text KORVA_GUARDED_BY(m_mutex);
};

/// What setError replaces, initially "none".
extern SharedText g_error;

/// How many minutes without use pass until the box stands by, initially "20". Nothing in the
/// library acts on it, and no reading of the variables shows it, because no source puts a pair of
/// its name into the list. Vars::write sets it, with the variable standbyMinutes.
extern SharedText g_standbyMinutes;

/// Takes a decimal number above 20, whatever follows it; other text changes nothing.
void setStandbyMinutes(std::string const& value);

} // namespace KORVA::DTC::CONF

/// Carries out the control word "EnableInetd", or records any other text, which the variable
/// _control then shows (initially "none"). EnableInetd lets telnet in: inetd is restarted with the
/// service, and serves it until it is next restarted; the root file system is writable meanwhile,
/// for five seconds, and the call blocks as long. Throws CONF::Exception (SystemCallFailed) when
/// the shell cannot be started; a command that fails goes unnoticed. Not beside the network set-up
/// or the writing of firmware, whose remounting it would undo. word must not be null.
void setControl(char const* word);

/// Sets word to the recorded one.
void getControl(std::string& word);
