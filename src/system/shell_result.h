#pragma once

#include <string>

namespace kelvane {

// What an external program left behind: its exit status and everything it
// wrote. Callers compare `status` with 0 and search the texts; nothing here
// judges them.
struct ShellResult {
    // The exit code; the signal number when the program was killed by one; -1
    // when the program could not be started at all.
    int status = 0;
    // Standard output, UTF-8 with every malformed sequence replaced by U+FFFD.
    std::string out;
    // Standard error, repaired the same way; when the program could not be
    // started, a readable description of why.
    std::string err;
};

}  // namespace kelvane
