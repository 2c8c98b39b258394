#pragma once

#include <string>
#include <variant>
#include <vector>

namespace kelvane {

// Where volumes are mounted, as this process sees them (its root and its
// mount namespace), read from /proc/self/mountinfo. A rename carries every
// mount below a folder along with it, so moving a folder needs to know them
// before it moves; a walk that removes finds them by itself.
namespace MountTable {

// One mounted volume.
struct Mount {
    // Its mount point, as a path from "/", exactly as the kernel spells it
    // once its escapes (\040 for a space and the like) are undone.
    std::string point;
    // The file system type ("ext4", "proc", "fuse.sshfs", ...).
    std::string type;
    // Which folder of its file system is mounted there ("/" for the whole
    // of it, "/@home" for a Btrfs subvolume), and from where ("/dev/sda2").
    std::string root;
    std::string source;
};

// Every mount, in the table's order; or the errno of reading the table.
std::variant<std::vector<Mount>, int> mounts();

// Every mount point; or the errno of reading the table.
std::variant<std::vector<std::string>, int> mountPoints();

}  // namespace MountTable
}  // namespace kelvane
