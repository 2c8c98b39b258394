#include "system/btrfs_snapshot.h"

#include <fcntl.h>
#include <linux/btrfs.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <variant>

#include "core/unique_fd.h"

namespace kelvane {
namespace {

// Every subvolume's root folder has this inode number.
constexpr ino_t kSubvolumeRoot = 256;

}  // namespace

bool BtrfsSnapshot::isReadOnlySnapshot(int fd) {
    struct statfs volume {};
    struct stat self {};
    if (::fstatfs(fd, &volume) != 0 || volume.f_type != BTRFS_SUPER_MAGIC) return false;
    if (::fstat(fd, &self) != 0 || !S_ISDIR(self.st_mode) || self.st_ino != kSubvolumeRoot) {
        return false;
    }
    std::uint64_t flags = 0;
    // Some kernels answer 1 for success here; only a negative answer failed.
    if (::ioctl(fd, BTRFS_IOC_SUBVOL_GETFLAGS, &flags) < 0 || (flags & BTRFS_SUBVOL_RDONLY) == 0) {
        return false;
    }
    btrfs_ioctl_get_subvol_info_args info{};
    if (::ioctl(fd, BTRFS_IOC_GET_SUBVOL_INFO, &info) < 0) return false;
    return std::any_of(std::begin(info.parent_uuid), std::end(info.parent_uuid),
                       [](std::uint8_t b) { return b != 0; });
}

std::optional<FileError> BtrfsSnapshot::destroy(const std::string& path,
                                                DeletionRules::Locator& locator) {
    auto located = locator.locate(path);
    if (auto* error = std::get_if<FileError>(&located)) return std::move(*error);
    const auto& target = std::get<DeletionRules::Target>(located);
    const UniqueFd item(::openat(target.parent.get(), target.name.c_str(),
                                 O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!item.valid()) return FileError::fromErrno(errno);
    FileIdentity opened;
    if (identify(item.get(), "", opened) != 0 || !opened.sameFile(target.item) ||
        !isReadOnlySnapshot(item.get())) {
        return FileError::refusal(FileError::notASnapshot);
    }
    // The ioctl wants a descriptor of the folder that holds the snapshot,
    // opened for reading; the located O_PATH one is reopened through "."
    // so it stays the folder the rules found.
    const UniqueFd parent(::openat(target.parent.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!parent.valid()) return FileError::fromErrno(errno);
    btrfs_ioctl_vol_args_v2 args{};
    if (target.name.size() >= sizeof(args.name)) return FileError::fromErrno(ENAMETOOLONG);
    std::memcpy(args.name, target.name.data(), target.name.size());
    if (::ioctl(parent.get(), BTRFS_IOC_SNAP_DESTROY_V2, &args) < 0) {
        return FileError::fromErrno(errno);
    }
    return std::nullopt;
}

}  // namespace kelvane
