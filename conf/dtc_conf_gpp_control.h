#pragma once

#include <string>

/// Carries out the control word "EnableInetd" (telnet service for new logins; takes five seconds),
/// or records any other word, initially "none", which the variable _control then shows. Not locked:
/// callers serialise.
void setControl(char const* word);
void getControl(std::string& word);
