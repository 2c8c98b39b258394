#pragma once

#include <string>
#include <vector>

#include "support/run_as_test_user.h"
#include "support/scoped_env.h"
#include "support/temp_tree.h"
#include "system/shell_result.h"

namespace kelvane::test {

void writeFile(const std::string& path, const std::string& content);
void makeFolder(const std::string& path);
// An executable /bin/sh script `folder`/`name` running `body`.
std::string writeScript(const std::string& folder, const std::string& name,
                        const std::string& body);
ShellResult sh(const std::string& command);  // /bin/sh -c command

}  // namespace kelvane::test
