#pragma once

#include <string>

namespace kelvane::test {

// A mount for the life of the object: a fresh tmpfs, or a bind mount of
// another folder. Mounting needs root (or a private mount namespace);
// error() is the errno when it could not be made, so the test can skip.
class ScopedMount {
  public:
    static ScopedMount tmpfs(const std::string& at);
    static ScopedMount bind(const std::string& from, const std::string& at);
    ~ScopedMount();
    ScopedMount(ScopedMount&& other) noexcept;
    ScopedMount(const ScopedMount&) = delete;
    ScopedMount& operator=(const ScopedMount&) = delete;
    ScopedMount& operator=(ScopedMount&&) = delete;

    int error() const { return error_; }

  private:
    ScopedMount(std::string at, int error) : at_(std::move(at)), error_(error) {}
    std::string at_;
    int error_;
};

// Every item below `folder` (mounts crossed, links not followed), one line
// each: relative path, inode, type and mode, and a hash of a file's bytes or
// a link's target. Two equal listings mean nothing there was touched.
std::string listing(const std::string& folder);

}  // namespace kelvane::test
