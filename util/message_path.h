/// How the functions are compiled that every message runs through.
///
/// While the system is at work, many processors forget to which callers the program is about to
/// return: each return after a system call is then mispredicted. So what a message takes from the
/// connection down to recv(2) or send(2) is one function, and what is needed seldom stays out of
/// it.
#pragma once

/// Whatever the function calls becomes a part of it; functions of other files only where link-time
/// optimisation is on, as it is with g++.
#define KORVA_ONE_PIECE [[gnu::flatten]]

/// Never a part of its callers.
#define KORVA_SELDOM [[gnu::cold, gnu::noinline]]
