#pragma once

#include <cstdint>

namespace kelvane {

// Capacity of the startup volume, in bytes.
struct DiskInfo {
    std::int64_t total = 0;
    std::int64_t available = 0;
    std::int64_t availableForImportant = 0;
    // Free space only root may fill (ext4 keeps 5% by default): counted in
    // the used space, since no user program can have it.
    std::int64_t reservedForRoot = 0;
};

}  // namespace kelvane
