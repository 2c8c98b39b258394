#pragma once

#include <cstdint>

namespace kelvane {

// Capacity of the startup volume, in bytes.
struct DiskInfo {
    std::int64_t total = 0;
    std::int64_t available = 0;
    std::int64_t availableForImportant = 0;
};

}  // namespace kelvane
