#pragma once

#include <cstdint>
#include <string>

namespace kelvane::test {

// A private folder under `base`, readable by every user (so the unprivileged test user can walk
// it), removed with everything in it when the object goes, immutable flags and missing
// permissions included.
class TempTree {
  public:
    explicit TempTree(const std::string& base = "/tmp");
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

// Writes a file of `bytes` bytes at `path`, creating the folders above it.
void writeFileOfSize(const std::string& path, std::size_t bytes);

// The file's bytes; empty when it cannot be read.
std::string readFile(const std::string& path);

// Whether the item itself exists, links not followed.
bool exists(const std::string& path);

// An immutable file for the life of the object: even root gets EPERM when removing it, which is
// how the system protects items. error() is the errno when the flag could not be set.
class Immutable {
  public:
    explicit Immutable(std::string path);
    ~Immutable();
    Immutable(const Immutable&) = delete;
    Immutable& operator=(const Immutable&) = delete;
    int error() const { return error_; }

  private:
    std::string path_;
    int error_;
};

// st_blocks * 512 of the item itself (links not followed); -1 when lstat fails.
std::int64_t allocated(const std::string& path);

}  // namespace kelvane::test
