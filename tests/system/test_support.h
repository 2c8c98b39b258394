#pragma once

#include <string>
#include <vector>

#include "system/shell_result.h"

namespace kelvane::test {

// A fresh folder under `base` (default /tmp), removed with everything in it
// at the end, immutable flags and missing permissions included.
class TempDir {
  public:
    explicit TempDir(const std::string& base = "/tmp");
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    ~TempDir();
    const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

// Sets an environment variable until the object goes away.
class ScopedEnv {
  public:
    ScopedEnv(std::string name, const std::string& value);
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;
    ~ScopedEnv();

  private:
    std::string name_;
    bool had_ = false;
    std::string old_;
};

void writeFile(const std::string& path, const std::string& content);
std::string readFile(const std::string& path);
void makeFolder(const std::string& path);
bool exists(const std::string& path);  // the path itself, links not followed
// An executable /bin/sh script `folder`/`name` running `body`.
std::string writeScript(const std::string& folder, const std::string& name,
                        const std::string& body);
ShellResult sh(const std::string& command);  // /bin/sh -c command

// Runs this test program again as the unprivileged account kelvane-test
// (only root can do that). It deletes `paths` with Cleaner::deleteItems and
// prints one line per path: "deleted -", or "protected", "denied" or "other"
// followed by the errno, then the path.
bool canRunAsTestUser();
ShellResult deleteAsTestUser(const std::vector<std::string>& paths, bool permanent,
                             const std::string& home);

}  // namespace kelvane::test
