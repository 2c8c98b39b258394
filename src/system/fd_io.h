#pragma once

#include <string>
#include <string_view>

namespace kelvane::FdIo {

// Writes all of `text` to `fd`, going on after short writes and EINTR.
// False (errno kept) when a write fails.
bool writeAll(int fd, std::string_view text);

// Appends everything `fd` yields until its end to `bytes`. False (errno
// kept) when a read fails.
bool readAll(int fd, std::string& bytes);

}  // namespace kelvane::FdIo
