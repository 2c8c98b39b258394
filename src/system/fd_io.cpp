#include "system/fd_io.h"

#include <unistd.h>

#include <array>
#include <cerrno>

namespace kelvane {

bool FdIo::writeAll(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t n = ::write(fd, text.data(), text.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

bool FdIo::readAll(int fd, std::string& bytes) {
    std::array<char, 1 << 16> buffer{};
    for (;;) {
        const ssize_t n = ::read(fd, buffer.data(), buffer.size());
        if (n == 0) return true;
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        bytes.append(buffer.data(), static_cast<std::size_t>(n));
    }
}

}  // namespace kelvane
