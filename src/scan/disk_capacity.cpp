#include "scan/disk_capacity.h"

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cstdint>

#include "core/path_text.h"

namespace kelvane::DiskCapacity {
namespace {

std::optional<DiskInfo> capacityOf(const std::string& path) {
    struct statvfs volume {};
    if (::statvfs(path.c_str(), &volume) != 0) return std::nullopt;
    const auto unit = static_cast<std::int64_t>(volume.f_frsize);
    const auto total = static_cast<std::int64_t>(volume.f_blocks) * unit;
    const auto available = static_cast<std::int64_t>(volume.f_bavail) * unit;
    const auto free = static_cast<std::int64_t>(volume.f_bfree) * unit;
    return DiskInfo{total, available, available, free - available};
}

}  // namespace

std::optional<DiskInfo> current() {
    return capacityOf("/");
}

std::optional<HomeVolume> homeVolume(const std::string& home) {
    struct stat root {
    }, at{};
    if (home.empty() || ::stat("/", &root) != 0 || ::stat(home.c_str(), &at) != 0 ||
        at.st_dev == root.st_dev) {
        return std::nullopt;
    }
    std::string mountPoint = home;
    for (std::string up = PathText::parent(mountPoint); up != mountPoint && !up.empty();
         up = PathText::parent(mountPoint)) {
        struct stat above {};
        if (::stat(up.c_str(), &above) != 0 || above.st_dev != at.st_dev) break;
        mountPoint = up;
    }
    const std::optional<DiskInfo> disk = capacityOf(home);
    if (!disk) return std::nullopt;
    return HomeVolume{mountPoint, *disk};
}

}  // namespace kelvane::DiskCapacity
