#pragma once

#include <string>

/// Carries out the control word "EnableInetd", or records any other text, which the variable
/// _control then shows (initially "none"). EnableInetd lets telnet in: inetd is restarted with the
/// service, and serves it until it is next restarted; the root file system is writable meanwhile,
/// for five seconds, and the call blocks as long. Throws CONF::Exception (SystemCallFailed) when
/// the shell cannot be started; a command that fails goes unnoticed. Not beside the network set-up
/// or the writing of firmware, whose remounting it would undo. word must not be null.
void setControl(char const* word);

/// Sets word to the recorded one.
void getControl(std::string& word);
