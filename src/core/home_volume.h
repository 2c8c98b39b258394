#pragma once

#include <string>

#include "core/disk_info.h"

namespace kelvane {

// The volume that holds the home folder, when it is not the one that holds
// "/" (a separate /home is common): where it is mounted and its capacity.
struct HomeVolume {
    std::string mountPoint;
    DiskInfo disk;
};

}  // namespace kelvane
