#include "system/trash.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <ctime>
#include <string_view>
#include <vector>

#include "core/home_trash.h"
#include "core/path_text.h"
#include "system/unique_fd.h"

namespace kelvane {
namespace {

constexpr std::string_view infoSuffix = ".trashinfo";
// Room kept for the ".N" that makes a name unique, should it be needed.
constexpr std::size_t counterRoom = 12;
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

// The device of `path`, or of its nearest existing ancestor: where a trash
// folder that does not exist yet would be made.
int deviceOfNearest(std::string path, dev_t& device) {
    struct stat st {};
    while (::stat(path.c_str(), &st) != 0) {
        if (errno != ENOENT) return errno;
        const std::string up = PathText::parent(path);
        if (up == path || up.empty()) return ENOENT;
        path = up;
    }
    device = st.st_dev;
    return 0;
}

// The top folder of the file system `device` that holds `path`: the highest
// ancestor still on that device.
int topFolder(const std::string& path, dev_t device, std::string& top) {
    std::string current = PathText::parent(path);
    struct stat st {};
    if (::stat(current.c_str(), &st) != 0) return errno;
    // The item is itself a mount point; it cannot move out of its own file
    // system.
    if (st.st_dev != device) return EXDEV;
    while (current != "/") {
        const std::string up = PathText::parent(current);
        if (::stat(up.c_str(), &st) != 0) return errno;
        if (st.st_dev != device) break;
        current = up;
    }
    top = current;
    return 0;
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

// `name` cut so that name, a counter and ".trashinfo" fit in NAME_MAX bytes,
// without splitting a UTF-8 sequence when the name is UTF-8.
std::string fittingName(const std::string& name) {
    const std::size_t limit = NAME_MAX - infoSuffix.size() - counterRoom;
    if (name.size() + infoSuffix.size() <= NAME_MAX) return name;
    std::size_t cut = limit;
    while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80) --cut;
    return name.substr(0, cut == 0 ? limit : cut);
}

bool writeAll(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t n = ::write(fd, text.data(), text.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

// rename without replacing an existing target. RENAME_NOREPLACE makes the
// check and the move one step; file systems without it get a check first.
int moveNoReplace(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    struct stat st {};
    if (::lstat(to.c_str(), &st) == 0) return EEXIST;
    if (::rename(from.c_str(), to.c_str()) != 0) return errno;
    return 0;
}

std::optional<FileError> moveInto(const TrashPlace& place, const std::string& path) {
    const std::string files = place.folder + "/files";
    const std::string info = place.folder + "/info";
    if (const int e = makeFolders(files)) return FileError::fromErrno(e, "mkdir", files);
    if (const int e = makeFolders(info)) return FileError::fromErrno(e, "mkdir", info);

    std::string original = path;
    if (!place.pathBase.empty()) {
        const std::size_t skip = place.pathBase == "/" ? 1 : place.pathBase.size() + 1;
        original = path.substr(skip);
    }
    const std::string content = "[Trash Info]\nPath=" + Trash::percentEncoded(original) +
                                "\nDeletionDate=" + deletionDate() + "\n";

    const std::string base = fittingName(PathText::lastComponent(path));
    for (unsigned n = 1; n <= maxAttempts; ++n) {
        const std::string name = n == 1 ? base : base + "." + std::to_string(n);
        const std::string infoPath = info + "/" + name + std::string(infoSuffix);
        // The info file comes first and claims the name: whoever creates it
        // owns that name, so two trashing processes never collide.
        UniqueFd fd(
            ::open(infoPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!fd.valid()) {
            if (errno == EEXIST) continue;
            return FileError::fromErrno(errno, "open", infoPath);
        }
        const bool written = writeAll(fd.get(), content);
        const int writeError = errno;
        if (!written || fd.reset() != 0) {
            const int e = written ? errno : writeError;
            ::unlink(infoPath.c_str());
            return FileError::fromErrno(e, "write", infoPath);
        }
        const int moveError = moveNoReplace(path, files + "/" + name);
        if (moveError == 0) return std::nullopt;
        // Without the item its info file would describe nothing.
        ::unlink(infoPath.c_str());
        // A leftover in files/ without info: take the next name.
        if (moveError == EEXIST) continue;
        return FileError::fromErrno(moveError, "rename", path);
    }
    return FileError::fromErrno(EEXIST, "rename", path);
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
        return FileError::fromErrno(errno, "unlink", *info);
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
    if (path.empty()) return FileError::fromErrno(ENOENT, "lstat", path);
    const std::string name = PathText::lastComponent(path);
    if (name == "/" || name == "." || name == "..") {
        return FileError::fromErrno(EINVAL, "rename", path);
    }
    struct stat item {};
    if (::lstat(path.c_str(), &item) != 0) return FileError::fromErrno(errno, "lstat", path);

    const std::string home = homeTrash();
    dev_t homeDevice = 0;
    if (const int e = deviceOfNearest(home, homeDevice)) {
        return FileError::fromErrno(e, "stat", home);
    }
    if (homeDevice == item.st_dev) return moveInto({home, ""}, path);

    std::string top;
    if (const int e = topFolder(path, item.st_dev, top)) {
        return FileError::fromErrno(e, "rename", path);
    }
    TrashPlace place;
    if (const int e = volumeTrash(top, place)) {
        return FileError::fromErrno(e, "mkdir",
                                    PathText::join(top, ".Trash-" + std::to_string(getuid())));
    }
    return moveInto(place, path);
}

}  // namespace kelvane
