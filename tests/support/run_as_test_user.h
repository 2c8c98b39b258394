#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kelvane::test {

// Root is refused nothing, so "permission denied" and "operation not permitted" only happen to
// someone else. These run the current test again, in a child process, as the unprivileged
// account kelvane-test.

// In that child: the folder the parent handed over. Nothing in the parent.
std::optional<std::string> testUserFolder();

// Whether this process can start such a child: it runs as root, and the account and runuser
// exist.
bool canRunAsTestUser();

// Runs the current test again as kelvane-test, handing it `folder`; returns the child's exit
// status (0 when every check in it passed), -1 when it could not be run.
int rerunAsTestUser(const std::string& folder);

// Runs `check` on `folder` as kelvane-test and fails the test when it fails. Already
// unprivileged, it runs `check` directly. The test calls `check` itself first when
// testUserFolder() says it is the child.
void checkAsTestUser(const std::string& folder,
                     const std::function<void(const std::string&)>& check);

// Runs a program by absolute path with the current environment plus `extraEnv` ("NAME=value")
// and returns its exit status, or -1 when it could not be started or did not exit normally.
int runProgram(const std::vector<std::string>& argv, const std::vector<std::string>& extraEnv = {});

}  // namespace kelvane::test
