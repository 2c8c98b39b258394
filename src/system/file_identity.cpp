#include "system/file_identity.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>

#include "core/unique_fd.h"

namespace kelvane {
namespace {

constexpr unsigned kWanted = STATX_TYPE | STATX_MODE | STATX_UID | STATX_INO | STATX_MNT_ID;
constexpr std::uint64_t kBarred = STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND;

// For file systems whose statx does not report the attributes: the inode
// flags by ioctl. Only regular files and folders can be opened for it;
// anything else is taken as not flagged.
bool flaggedByIoctl(int dirFd, const char* name, mode_t mode) {
    if (!S_ISREG(mode) && !S_ISDIR(mode)) return false;
    const UniqueFd fd(
        *name == '\0'
            ? ::openat(dirFd, ".", O_RDONLY | O_CLOEXEC | O_NONBLOCK)
            : ::openat(dirFd, name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!fd.valid()) return false;
    int flags = 0;
    if (::ioctl(fd.get(), FS_IOC_GETFLAGS, &flags) != 0) return false;
    return (flags & (FS_IMMUTABLE_FL | FS_APPEND_FL)) != 0;
}

}  // namespace

bool FileIdentity::isFolder() const {
    return S_ISDIR(mode);
}

bool FileIdentity::isLink() const {
    return S_ISLNK(mode);
}

bool FileIdentity::sameFile(const FileIdentity& other) const {
    return dev == other.dev && ino == other.ino;
}

bool FileIdentity::sameMount(const FileIdentity& other) const {
    if (mountId != 0 && other.mountId != 0) return mountId == other.mountId;
    return dev == other.dev && !mountRoot;
}

int identify(int dirFd, const char* name, FileIdentity& out) {
    struct statx sx {};
    const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | (*name == '\0' ? AT_EMPTY_PATH : 0);
    if (::statx(dirFd, name, flags, kWanted, &sx) != 0) return errno;
    out.mode = sx.stx_mode;
    out.uid = sx.stx_uid;
    out.dev = makedev(sx.stx_dev_major, sx.stx_dev_minor);
    out.ino = sx.stx_ino;
    out.mountId = (sx.stx_mask & STATX_MNT_ID) != 0 ? sx.stx_mnt_id : 0;
    out.mountRoot = (sx.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0 &&
                    (sx.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    return 0;
}

bool isImmutable(int dirFd, const char* name) {
    struct statx sx {};
    const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | (*name == '\0' ? AT_EMPTY_PATH : 0);
    if (::statx(dirFd, name, flags, STATX_TYPE, &sx) != 0) return false;
    if ((sx.stx_attributes_mask & kBarred) == kBarred) return (sx.stx_attributes & kBarred) != 0;
    return flaggedByIoctl(dirFd, name, sx.stx_mode);
}

}  // namespace kelvane
