#include "system/trash.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <ctime>
#include <optional>
#include <string_view>
#include <vector>

#include "core/home_trash.h"
#include "core/path_text.h"
#include "core/unique_fd.h"
#include "system/deletion_rules.h"
#include "system/fd_io.h"
#include "system/file_identity.h"

namespace kelvane {
namespace {

constexpr std::string_view infoSuffix = ".trashinfo";
// Longer endings are not taken for extensions when a name must be shortened.
constexpr std::size_t maxExtension = 16;
constexpr unsigned maxAttempts = 100000;

// Creates `path` and any missing parents with mode 0700, like mkdir -p.
int makeFolders(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0) return S_ISDIR(st.st_mode) ? 0 : ENOTDIR;
    const std::string parent = PathText::parent(path);
    if (!parent.empty() && parent != path) {
        if (const int e = makeFolders(parent)) return e;
    }
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) return errno;
    return 0;
}

// Mount comparison for walking up a path: the mount id where the kernel has
// one, else the device.
bool onSameMount(const FileIdentity& a, const FileIdentity& b) {
    if (a.mountId != 0 && b.mountId != 0) return a.mountId == b.mountId;
    return a.dev == b.dev;
}

// What `path`, or its nearest existing ancestor, is: where a trash folder
// that does not exist yet would be made.
int identifyNearest(std::string path, FileIdentity& out) {
    while (const int e = identify(AT_FDCWD, path.c_str(), out)) {
        if (e != ENOENT) return e;
        const std::string up = PathText::parent(path);
        if (up == path || up.empty()) return ENOENT;
        path = up;
    }
    return 0;
}

// Where the folder open as `fd` really is, links resolved: what the kernel
// says of the descriptor. The trash of an item reached through a link to
// another disk belongs to that disk's top folder, not to the link's.
std::string physicalPath(int fd, const std::string& fallback) {
    const std::string proc = "/proc/self/fd/" + std::to_string(fd);
    std::array<char, PATH_MAX> buffer{};
    const ssize_t n = ::readlink(proc.c_str(), buffer.data(), buffer.size() - 1);
    if (n <= 0 || buffer[0] != '/') return fallback;
    return std::string(buffer.data(), static_cast<std::size_t>(n));
}

// The top folder of the mount that holds `folder`: its highest ancestor
// still on that mount.
std::string topFolder(std::string folder, const FileIdentity& mount) {
    while (folder != "/") {
        const std::string up = PathText::parent(folder);
        FileIdentity above;
        if (identify(AT_FDCWD, up.c_str(), above) != 0 || !onSameMount(above, mount)) break;
        folder = up;
    }
    return folder;
}

// A trash folder we may use: a real folder (not a link), owned by us.
bool isOwnFolder(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode) && st.st_uid == getuid();
}

int makeOwnFolder(const std::string& path) {
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) return errno;
    return isOwnFolder(path) ? 0 : EACCES;
}

// Whether `item` is one of the trash folders a volume may hold for us at
// `top` (either kind, and the shared .Trash itself).
bool isVolumeTrashFolder(const FileIdentity& item, const std::string& top) {
    const std::string base = top == "/" ? "" : top;
    const std::string uid = std::to_string(getuid());
    FileIdentity shared;
    return DeletionRules::isTrashFolder(item, base + "/.Trash-" + uid) ||
           DeletionRules::isTrashFolder(item, base + "/.Trash/" + uid) ||
           (identify(AT_FDCWD, (base + "/.Trash").c_str(), shared) == 0 && shared.sameFile(item));
}

struct TrashPlace {
    std::string folder;    // holds files/ and info/
    std::string pathBase;  // Path keys are relative to this; empty: absolute
};

// The per-volume trash of `top` for the current user: the shared .Trash
// folder when an administrator set one up properly, else .Trash-$uid.
int volumeTrash(const std::string& top, TrashPlace& place) {
    const std::string uid = std::to_string(getuid());
    const std::string base = top == "/" ? "" : top;
    const std::string shared = base + "/.Trash";
    struct stat st {};
    if (::lstat(shared.c_str(), &st) == 0 && S_ISDIR(st.st_mode) && (st.st_mode & S_ISVTX)) {
        const std::string mine = shared + "/" + uid;
        if (makeOwnFolder(mine) == 0) {
            place = {mine, top};
            return 0;
        }
    }
    const std::string mine = base + "/.Trash-" + uid;
    if (const int e = makeOwnFolder(mine)) return e;
    place = {mine, top};
    return 0;
}

std::string deletionDate() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    char text[32] = "";
    if (localtime_r(&now, &local) != nullptr) {
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local);
    }
    return text;
}

// Cuts `text` to at most `room` bytes without splitting a UTF-8 sequence
// when the text is UTF-8 (a name that is not is cut where it must be).
std::string cutTo(const std::string& text, std::size_t room) {
    if (text.size() <= room) return text;
    std::size_t cut = room;
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
    return text.substr(0, cut == 0 ? room : cut);
}

// The name an item takes in files/ on the `attempt`th try: the name itself,
// then "stem.2.ext", "stem.3.ext", ... Name and info file ("NAME.trashinfo")
// must both fit NAME_MAX bytes, so a long stem is shortened; the extension
// stays, so the file still opens with the right program once restored.
std::string trashName(const std::string& name, unsigned attempt) {
    const std::size_t limit = NAME_MAX - infoSuffix.size();
    const std::string counter = attempt == 1 ? "" : "." + std::to_string(attempt);
    const std::size_t dot = name.rfind('.');
    std::string extension = dot != std::string::npos && dot > 0 && name.size() - dot <= maxExtension
                                ? name.substr(dot)
                                : "";
    if (attempt == 1 && name.size() <= limit) return name;
    const std::string stem = name.substr(0, name.size() - extension.size());
    return cutTo(stem, limit - counter.size() - extension.size()) + counter + extension;
}

// renameat without replacing an existing target. RENAME_NOREPLACE makes the
// check and the move one step; file systems without it get a check first.
int moveNoReplace(int fromDir, const std::string& from, int toDir, const std::string& to) {
    if (::renameat2(fromDir, from.c_str(), toDir, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    struct stat st {};
    if (::fstatat(toDir, to.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0) return EEXIST;
    if (::renameat(fromDir, from.c_str(), toDir, to.c_str()) != 0) return errno;
    return 0;
}

// Moves the located item into `place`; `original` is where it really is,
// for its info file.
std::optional<FileError> moveInto(const TrashPlace& place, const DeletionRules::Target& target,
                                  const std::string& original) {
    const std::string files = place.folder + "/files";
    const std::string info = place.folder + "/info";
    if (const int e = makeFolders(files)) return FileError::fromErrno(e);
    if (const int e = makeFolders(info)) return FileError::fromErrno(e);
    const UniqueFd filesFd(::open(files.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!filesFd.valid()) return FileError::fromErrno(errno);

    std::string key = original;
    if (!place.pathBase.empty()) {
        const std::size_t skip = place.pathBase == "/" ? 1 : place.pathBase.size() + 1;
        key = original.substr(std::min(skip, original.size()));
    }
    const std::string content = "[Trash Info]\nPath=" + Trash::percentEncoded(key) +
                                "\nDeletionDate=" + deletionDate() + "\n";

    for (unsigned attempt = 1; attempt <= maxAttempts; ++attempt) {
        const std::string name = trashName(target.name, attempt);
        const std::string infoPath = info + "/" + name + std::string(infoSuffix);
        // The info file comes first and claims the name: whoever creates it
        // owns that name, so two trashing processes never collide.
        UniqueFd fd(
            ::open(infoPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!fd.valid()) {
            if (errno == EEXIST) continue;
            return FileError::fromErrno(errno);
        }
        const bool written = FdIo::writeAll(fd.get(), content);
        const int writeError = errno;
        if (!written || fd.reset() != 0) {
            const int e = written ? errno : writeError;
            ::unlink(infoPath.c_str());
            return FileError::fromErrno(e);
        }
        const int moveError = moveNoReplace(target.parent.get(), target.name, filesFd.get(), name);
        if (moveError == 0) return std::nullopt;
        // Without the item its info file would describe nothing.
        ::unlink(infoPath.c_str());
        // A leftover in files/ without info: take the next name.
        if (moveError == EEXIST) continue;
        return DeletionRules::failure(target.parent.get(), target.name, moveError);
    }
    return FileError::fromErrno(EEXIST);
}

}  // namespace

std::string Trash::homeTrash() {
    return HomeTrash::current();
}

std::optional<std::string> Trash::infoFileOf(const std::string& trashFolder,
                                             const std::string& path) {
    // Only the exact form "<files>/NAME" counts: a trashed item's name is one
    // component, and anything deeper is part of an item, not an item.
    const std::string files = HomeTrash::filesOf(trashFolder) + "/";
    if (path.size() <= files.size() || path.compare(0, files.size(), files) != 0) {
        return std::nullopt;
    }
    const std::string name = path.substr(files.size());
    if (name.find('/') != std::string::npos || name == "." || name == "..") return std::nullopt;
    return trashFolder + "/info/" + name + std::string(infoSuffix);
}

std::optional<FileError> Trash::forgetRemovedItem(const std::string& path) {
    const std::optional<std::string> info = infoFileOf(homeTrash(), path);
    if (!info) return std::nullopt;
    // An item put in files/ by hand has no info file; that is fine.
    if (::unlink(info->c_str()) != 0 && errno != ENOENT) {
        return FileError::fromErrno(errno);
    }
    return std::nullopt;
}

std::string Trash::percentEncoded(const std::string& path) {
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(path.size());
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        const bool plain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                           (byte >= '0' && byte <= '9') || byte == '-' || byte == '_' ||
                           byte == '.' || byte == '~' || byte == '/';
        if (plain) {
            encoded += c;
        } else {
            encoded += '%';
            encoded += hex[byte >> 4];
            encoded += hex[byte & 0x0F];
        }
    }
    return encoded;
}

std::optional<FileError> Trash::moveToTrash(const std::string& path) {
    DeletionRules::Locator locator(DeletionRules::LinkTrust::currentUser());
    return moveToTrash(path, locator);
}

std::optional<FileError> Trash::moveToTrash(const std::string& path,
                                            DeletionRules::Locator& locator) {
    auto located = locator.locate(path);
    if (auto* error = std::get_if<FileError>(&located)) return std::move(*error);
    const auto& target = std::get<DeletionRules::Target>(located);

    const std::string home = homeTrash();
    const std::string folder = physicalPath(target.parent.get(), PathText::parent(path));
    const std::string original = PathText::join(folder, target.name);
    // Walking up to the mount's top costs a statx per ancestor: only items
    // that may be a trash folder, or that go to a volume trash, pay for it.
    std::optional<std::string> top;
    const auto topOfMount = [&]() -> const std::string& {
        if (!top) top = topFolder(folder, target.parentIdentity);
        return *top;
    };
    if (DeletionRules::mayBeTrashFolder(target.name) &&
        (DeletionRules::isTrashFolder(target.item, home) ||
         isVolumeTrashFolder(target.item, topOfMount()))) {
        return FileError::refusal(FileError::trashOwnFolder);
    }
    if (target.item.isFolder()) {
        if (auto refused = DeletionRules::refuseMountsBelow(original)) return refused;
    }
    FileIdentity homeMount;
    if (const int e = identifyNearest(home, homeMount)) return FileError::fromErrno(e);
    if (onSameMount(homeMount, target.parentIdentity))
        return moveInto({home, ""}, target, original);

    // Another file system (or another mount of the same one, which rename
    // cannot cross either): that volume's own trash, at its top folder.
    TrashPlace place;
    if (const int e = volumeTrash(topOfMount(), place)) {
        return FileError::refusal(FileError::noUsableTrash, e);
    }
    return moveInto(place, target, original);
}

}  // namespace kelvane
