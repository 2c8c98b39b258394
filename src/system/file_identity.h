#pragma once

#include <sys/types.h>

#include <cstdint>

namespace kelvane {

// What the deletion rules need to know of one item: its type and owner,
// which file it is, on which mount it sits, and whether even root is barred
// from changing it. Read with one statx call.
struct FileIdentity {
    mode_t mode = 0;
    uid_t uid = 0;
    dev_t dev = 0;
    ino_t ino = 0;
    // The kernel's mount id; 0 when the kernel cannot tell (before 5.8).
    std::uint64_t mountId = 0;
    // The item is the root of a mount (a mount point, seen from above).
    bool mountRoot = false;

    bool isFolder() const;
    bool isLink() const;
    // The same file (device and inode).
    bool sameFile(const FileIdentity& other) const;
    // On the same mount: the same mount id where the kernel reports one,
    // else the same device and `this` not a mount root. Same-device bind
    // mounts are only told apart by the mount id.
    bool sameMount(const FileIdentity& other) const;
};

// Examines `name` in the folder `dirFd` without following a final symbolic
// link (the descriptor itself when `name` is empty). Returns 0, or the errno
// of the failed call.
int identify(int dirFd, const char* name, FileIdentity& out);

// Whether `name` in `dirFd` (the folder itself when `name` is empty) is
// immutable or append-only: not even root may remove it or, for a folder,
// anything directly inside it. Asked only after a refusal, so its cost (an
// extra open on file systems whose statx is silent about it) stays off the
// common path.
bool isImmutable(int dirFd, const char* name);

}  // namespace kelvane
