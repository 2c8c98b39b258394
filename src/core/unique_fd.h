#pragma once

#include <unistd.h>

#include <utility>

namespace kelvane {

// Owns one file descriptor and closes it exactly once. Every descriptor the
// walkers, the remover and the process runner open lives in one of these, so
// none leaks on an early return.
class UniqueFd {
  public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) reset(std::exchange(other.fd_, -1));
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    int release() { return std::exchange(fd_, -1); }

    // Closes the descriptor now; returns close's result (0 when there was none)
    // so writers can see a failed final flush.
    int reset(int fd = -1) {
        const int old = std::exchange(fd_, fd);
        return old >= 0 ? ::close(old) : 0;
    }

  private:
    int fd_ = -1;
};

}  // namespace kelvane
