#pragma once

#include <optional>
#include <string>

#include "core/disk_info.h"
#include "core/home_volume.h"

namespace kelvane {

// Capacity of the volume holding "/". DiskInfo itself is a plain record in core; asking the
// system for the figures lives here, beside the rest of the file-system reading.
namespace DiskCapacity {

// Total and available bytes from statvfs("/"), read afresh on every call. Linux has no separate
// figure for "important" usage, so availableForImportant equals available; reservedForRoot is
// the free space only root may use (f_bfree - f_bavail). Absent when the volume cannot be
// queried.
std::optional<DiskInfo> current();

// The volume of `home` with its capacity, read afresh, when it is another
// file system than the one of "/"; absent when it is the same one or cannot
// be queried. Its mount point is the highest folder above `home` still on
// that file system.
std::optional<HomeVolume> homeVolume(const std::string& home);

}  // namespace DiskCapacity
}  // namespace kelvane
