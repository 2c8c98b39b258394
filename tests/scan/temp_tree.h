#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kelvane::testing {

// A private folder under /tmp, readable by every user (so the unprivileged test user can walk
// it), removed with everything in it when the object goes.
class TempTree {
  public:
    TempTree();
    ~TempTree();
    TempTree(const TempTree&) = delete;
    TempTree& operator=(const TempTree&) = delete;

    const std::string& path() const { return path_; }
    std::string operator/(const std::string& relative) const { return path_ + "/" + relative; }

    // Creators that fail the current test (and return false) when the system call fails.
    bool dir(const std::string& relative, unsigned mode = 0755) const;
    bool file(const std::string& relative, std::size_t bytes) const;
    bool symlink(const std::string& target, const std::string& relative) const;
    bool hardlink(const std::string& existing, const std::string& relative) const;

  private:
    std::string path_;
};

// st_blocks * 512 of the item itself (links not followed); -1 when lstat fails.
std::int64_t allocated(const std::string& path);

// Runs a program by absolute path with the current environment plus `extraEnv` ("NAME=value")
// and returns its exit status, or -1 when it could not be started or did not exit normally.
int runProgram(const std::vector<std::string>& argv, const std::vector<std::string>& extraEnv = {});

// Permission checks are only meaningful for a user who can be refused: root reads everything.
// Runs `check` on `tree` as the user "kelvane-test" by re-running this very test in a child
// process under runuser, and fails the test when the child fails. Already unprivileged, it runs
// `check` directly. In the child process, call `childTree()` first: it yields the tree to check.
void checkAsTestUser(const std::string& tree, const std::function<void(const std::string&)>& check);
std::optional<std::string> childTree();

}  // namespace kelvane::testing
