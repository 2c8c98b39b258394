#pragma once

#include <fcntl.h>

#include "core/unique_fd.h"

namespace kelvane {

// Flags every walk opens a folder for listing with.
inline constexpr int kListFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

// Opens the folder `name` in `dirFd` for listing, unless it is a mount point or a link: an
// invalid descriptor then (and on kernels without openat2), and the caller examines the name
// itself.
UniqueFd openFolderOnSameMount(int dirFd, const char* name);

}  // namespace kelvane
