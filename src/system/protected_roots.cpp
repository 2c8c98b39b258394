#include "system/protected_roots.h"

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <variant>

#include "core/home_folder.h"
#include "core/path_text.h"
#include "system/mount_table.h"

namespace kelvane {
namespace {

constexpr std::array<std::string_view, 13> kSystemFolders = {
    "bin", "boot", "dev", "etc", "opt", "proc", "root", "run", "sbin", "srv", "sys", "usr", "var"};

// File systems the kernel provides for itself: what is mounted from them is
// the running system's, never the user's data.
constexpr std::array<std::string_view, 21> kSystemTypes = {
    "proc",    "sysfs",     "devtmpfs",    "devpts", "cgroup",    "cgroup2",    "securityfs",
    "debugfs", "tracefs",   "pstore",      "bpf",    "efivarfs",  "configfs",   "fusectl",
    "mqueue",  "hugetlbfs", "binfmt_misc", "autofs", "selinuxfs", "rpc_pipefs", "nsfs"};

bool isSystemVolume(const MountTable::Mount& mount) {
    if (std::find(kSystemTypes.begin(), kSystemTypes.end(), mount.type) != kSystemTypes.end()) {
        return true;
    }
    // The boot loader's volumes (the EFI system partition, a separate /boot).
    return mount.point == "/efi" || mount.point == "/boot" || mount.point.starts_with("/boot/");
}

std::string passwordHome(uid_t uid) {
    long size = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    if (size <= 0) size = 16384;
    std::vector<char> buffer(static_cast<std::size_t>(size));
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr ||
        found->pw_dir == nullptr || found->pw_dir[0] != '/') {
        return "/";
    }
    return found->pw_dir;
}

struct FreeDeleter {
    void operator()(char* p) const { std::free(p); }
};

// `path` and every folder above it, up to "/".
std::vector<std::string> selfAndAbove(std::string path) {
    std::vector<std::string> chain;
    for (;;) {
        chain.push_back(path);
        std::string up = PathText::parent(path);
        if (up.empty() || up == path) break;
        path = std::move(up);
    }
    return chain;
}

}  // namespace

ProtectedRoots::ProtectedRoots(const std::string& home) {
    add("/");
    for (const std::string_view name : kSystemFolders) add("/" + std::string(name));
    // /lib and its siblings (/lib32, /lib64, /libx32, ...).
    if (const std::unique_ptr<DIR, int (*)(DIR*)> root(::opendir("/"), ::closedir); root) {
        while (const dirent* entry = ::readdir(root.get())) {
            if (std::string_view(entry->d_name).starts_with("lib")) {
                add("/" + std::string(entry->d_name));
            }
        }
    }
    if (!home.empty() && home.starts_with('/')) {
        for (const std::string& folder : selfAndAbove(home)) add(folder);
        const std::unique_ptr<char, FreeDeleter> real(::realpath(home.c_str(), nullptr));
        if (real) {
            for (const std::string& folder : selfAndAbove(real.get())) add(folder);
        }
    }
    const auto table = MountTable::mounts();
    if (const auto* mounts = std::get_if<std::vector<MountTable::Mount>>(&table)) {
        for (const MountTable::Mount& mount : *mounts) {
            if (isSystemVolume(mount)) add(mount.point);
        }
    }
}

ProtectedRoots ProtectedRoots::forUser(uid_t uid) {
    return ProtectedRoots(uid == ::getuid() ? HomeFolder::find() : passwordHome(uid));
}

void ProtectedRoots::add(const std::string& path) {
    FileIdentity itself;
    if (identify(AT_FDCWD, path.c_str(), itself) != 0) return;
    items_.push_back(itself);
    if (!itself.isLink()) return;
    // What a link such as /bin -> usr/bin names is as much a system folder.
    struct stat target {};
    if (::stat(path.c_str(), &target) != 0) return;
    FileIdentity followed;
    followed.mode = target.st_mode;
    followed.dev = target.st_dev;
    followed.ino = target.st_ino;
    items_.push_back(followed);
}

bool ProtectedRoots::contains(const FileIdentity& item) const {
    return std::any_of(items_.begin(), items_.end(),
                       [&](const FileIdentity& root) { return root.sameFile(item); });
}

bool ProtectedRoots::containsPath(const std::string& path) const {
    FileIdentity item;
    return identify(AT_FDCWD, path.c_str(), item) == 0 && contains(item);
}

}  // namespace kelvane
