#pragma once

#include <string>
#include <vector>

#include "system/shell_result.h"

namespace kelvane {

// Starts external programs. Every outcome, including a program that cannot be
// started, is a ShellResult; nothing throws. Calls block the calling thread
// until the program has ended (there is no time limit), so run them off the
// main thread. Any number of calls may run at the same time.
namespace Shell {

// Runs `executable` (an absolute path: no PATH search, no shell) with
// `arguments` passed one by one. The child inherits the environment, the
// working folder and standard input; standard output and standard error are
// drained at the same time, so a child that writes a lot to either never
// stalls. No descriptor of ours leaks into the child.
ShellResult run(const std::string& executable, const std::vector<std::string>& arguments);

// `run` with `input` written to the child's standard input, which is then
// closed. Writing goes on while the output is drained, so neither side can
// stall the other whatever the sizes; a child that exits without reading
// everything is no error of ours.
ShellResult runWithInput(const std::string& executable, const std::vector<std::string>& arguments,
                         const std::string& input);

// Runs one shell command line with administrator rights after the user has
// authenticated: `/usr/bin/pkexec /bin/sh -c COMMAND`. The caller quotes the
// command line. A dismissed or refused authentication comes back with a
// non-zero status and the text "-128" in `err`, the marker the deletion flows
// look for.
ShellResult admin(const std::string& command);

// `admin` through another elevation program given by absolute path (it is
// called as ELEVATOR /bin/sh -c COMMAND). Tests pass a script here.
ShellResult adminVia(const std::string& elevator, const std::string& command);

// `text` in single quotes for a POSIX shell, each embedded single quote
// written as '\''. Nothing else needs escaping inside single quotes.
std::string quoted(const std::string& text);

}  // namespace Shell
}  // namespace kelvane
