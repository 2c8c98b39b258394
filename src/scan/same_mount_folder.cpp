#include "scan/same_mount_folder.h"

#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace kelvane {

// Opens the folder `name` in `dirFd` for listing, unless it is a mount point or a link. With
// RESOLVE_NO_XDEV the kernel refuses to step onto another mount (bind mounts included) rather
// than enter it, and since it stops before the mount, an automount point is not triggered
// either. Kernels without openat2 (before 5.6) get an invalid descriptor every time, and the
// walk looks at each folder by name first instead.
UniqueFd openFolderOnSameMount(int dirFd, const char* name) {
    static std::atomic<bool> unavailable{false};
    if (unavailable.load(std::memory_order_relaxed)) return {};
    open_how how{};
    how.flags = kListFolderFlags | O_NOFOLLOW;
    how.resolve = RESOLVE_NO_XDEV | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    const long fd = ::syscall(SYS_openat2, dirFd, name, &how, sizeof how);
    if (fd >= 0) return UniqueFd(static_cast<int>(fd));
    if (errno == ENOSYS) unavailable.store(true, std::memory_order_relaxed);
    return {};
}

}  // namespace kelvane
