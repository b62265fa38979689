#pragma once

#include "util/export.h"

#include <string>

/// Carries out the control word "EnableInetd" (telnet service for new logins; takes five seconds),
/// or records any other word, initially "none", which the variable _control then shows. Not locked:
/// callers serialise.
KORVA_API void setControl(char const* word);
KORVA_API void getControl(std::string& word);
