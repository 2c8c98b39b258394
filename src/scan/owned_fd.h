#pragma once

#include <unistd.h>

#include <utility>

namespace kelvane {

// Owns one file descriptor and closes it exactly once. The walkers open many folders and must
// never leak one on an early return, so every descriptor they open lives in one of these.
class OwnedFd {
  public:
    OwnedFd() = default;
    explicit OwnedFd(int fd) : fd_(fd) {}
    OwnedFd(OwnedFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    OwnedFd& operator=(OwnedFd&& other) noexcept {
        if (this != &other) reset(std::exchange(other.fd_, -1));
        return *this;
    }
    OwnedFd(const OwnedFd&) = delete;
    OwnedFd& operator=(const OwnedFd&) = delete;
    ~OwnedFd() { reset(); }

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }

    // Closes the descriptor now. A folder opened for reading has nothing to flush, so a failed
    // close loses nothing and is not reported.
    void reset(int fd = -1) {
        const int old = std::exchange(fd_, fd);
        if (old >= 0) (void)::close(old);
    }

  private:
    int fd_ = -1;
};

}  // namespace kelvane
