#pragma once

#include <string>
#include <vector>

#include "system/shell_result.h"

namespace kelvane {

// Starting our administrator helper (kelvane-admin): through pkexec, which
// asks for the password once, or directly when no elevator is given (the
// helper then runs with our own rights; tests do this).
namespace AdminHelper {

inline constexpr const char* pkexecPath = "/usr/bin/pkexec";

struct Run {
    // The helper's result. A dismissed password dialog holds "-128" in
    // `err`, the marker the flows look for; a refused or impossible
    // authorisation, or a missing helper, has a Japanese description there
    // and status -1 when nothing was started.
    ShellResult result;
    // pkexec is not installed: nothing was started.
    bool elevationMissing = false;
};

Run run(const std::string& elevator, const std::string& helper,
        const std::vector<std::string>& arguments, const std::string& input);

// Where the helper is: next to the running program (a build tree), else
// where the package installs it.
std::string path();

}  // namespace AdminHelper
}  // namespace kelvane
