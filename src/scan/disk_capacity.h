#pragma once

#include <optional>

#include "core/disk_info.h"

namespace kelvane {

// Capacity of the volume holding "/". DiskInfo itself is a plain record in core; asking the
// system for the figures lives here, beside the rest of the file-system reading.
namespace DiskCapacity {

// Total and available bytes from statvfs("/"), read afresh on every call. Linux has no separate
// figure for "important" usage, so availableForImportant equals available. Absent when the
// volume cannot be queried.
std::optional<DiskInfo> current();

}  // namespace DiskCapacity
}  // namespace kelvane
