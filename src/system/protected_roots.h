#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "system/file_identity.h"

namespace kelvane {

// The folders no deletion by Kelvane may remove, whoever asks and however a
// path reaches them: "/", the home folder of the user on whose behalf we
// delete and every folder above it (by the path's text and where it really
// is), the system's top-level folders (/bin, /boot, /dev, /etc, /lib*, /opt,
// /proc, /root, /run, /sbin, /srv, /sys, /usr, /var, and what a link among
// them points to) and the mount points of system volumes. What they contain
// stays deletable under the other rules. Items are compared by identity
// (device and inode), so another spelling of the same folder is caught too.
class ProtectedRoots {
  public:
    // For the user whose home folder is `home`.
    explicit ProtectedRoots(const std::string& home);

    // For the user `uid`: the running user's home as a login shell sees it
    // ($HOME first), another user's from the password database (the
    // administrator helper: pkexec leaves no environment worth trusting).
    static ProtectedRoots forUser(uid_t uid);

    // Whether `item` (as the deletion rules identify it) is one of them.
    bool contains(const FileIdentity& item) const;

    // Whether the item at `path` is one of them; a final symbolic link is
    // the link itself. Asked before a deletion is offered.
    bool containsPath(const std::string& path) const;

  private:
    void add(const std::string& path);
    std::vector<FileIdentity> items_;
};

}  // namespace kelvane
