#pragma once

#include <optional>
#include <string>

namespace kelvane::test {

// Root is refused nothing, so "permission denied" and "operation not
// permitted" only happen to someone else. These run the current test again,
// in a child process, as the unprivileged account kelvane-test.

// In that child: the folder the parent prepared for it. Nothing in the parent.
std::optional<std::string> testUserFolder();

// Whether this process can start such a child: it runs as root, and the
// account and runuser exist.
bool canRerunAsTestUser();

// Runs the current test again as kelvane-test, handing it `folder`; returns
// the child's exit status (0 when every check in it passed), -1 when it could
// not be run.
int rerunAsTestUser(const std::string& folder);

}  // namespace kelvane::test
