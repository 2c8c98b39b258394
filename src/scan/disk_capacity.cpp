#include "scan/disk_capacity.h"

#include <sys/statvfs.h>

#include <cstdint>

namespace kelvane::DiskCapacity {

std::optional<DiskInfo> current() {
    struct statvfs volume {};
    if (::statvfs("/", &volume) != 0) return std::nullopt;
    const auto unit = static_cast<std::int64_t>(volume.f_frsize);
    const auto total = static_cast<std::int64_t>(volume.f_blocks) * unit;
    const auto available = static_cast<std::int64_t>(volume.f_bavail) * unit;
    return DiskInfo{total, available, available};
}

}  // namespace kelvane::DiskCapacity
