#include "system/deletion_rules.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <deque>
#include <string_view>
#include <vector>

#include "core/path_text.h"
#include "system/mount_table.h"

namespace kelvane {
namespace {

// As many links as the kernel follows in one lookup.
constexpr int kMaxLinks = 40;
// How often a folder may be swapped under us before we give up.
constexpr int kMaxSwaps = 8;

void pushComponents(std::deque<std::string>& pending, const std::string& path) {
    std::deque<std::string> parts;
    std::size_t start = 0;
    while (start <= path.size()) {
        std::size_t end = path.find('/', start);
        if (end == std::string::npos) end = path.size();
        if (end > start) parts.push_back(path.substr(start, end - start));
        start = end + 1;
    }
    pending.insert(pending.begin(), parts.begin(), parts.end());
}

int openStart(bool absolute, UniqueFd& out) {
    out.reset(::open(absolute ? "/" : ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    return out.valid() ? 0 : errno;
}

struct Walk {
    int errnum = 0;
    bool untrustedLink = false;
};

// Opens the folder `path` (O_PATH), one component at a time from "/" (or
// the working folder), following only links that `trust` allows.
Walk openFolder(const std::string& path, const DeletionRules::LinkTrust& trust, UniqueFd& cur) {
    if (const int e = openStart(path.starts_with('/'), cur)) return {e};
    std::deque<std::string> pending;
    pushComponents(pending, path);
    int links = 0;
    int swaps = 0;
    while (!pending.empty()) {
        const std::string component = std::move(pending.front());
        pending.pop_front();
        if (component == ".") continue;
        FileIdentity seen;
        if (const int e = identify(cur.get(), component.c_str(), seen)) return {e};
        if (seen.isLink()) {
            if (!trust.trusts(seen.uid)) return {0, true};
            if (++links > kMaxLinks) return {ELOOP};
            std::array<char, 4096> target{};
            const ssize_t n =
                ::readlinkat(cur.get(), component.c_str(), target.data(), target.size() - 1);
            if (n < 0) return {errno};
            const std::string text(target.data(), static_cast<std::size_t>(n));
            pushComponents(pending, text);
            if (text.starts_with('/')) {
                if (const int e = openStart(true, cur)) return {e};
            }
            continue;
        }
        if (!seen.isFolder()) return {ENOTDIR};
        UniqueFd next(
            ::openat(cur.get(), component.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        FileIdentity opened;
        const bool same = next.valid() && identify(next.get(), "", opened) == 0 &&
                          opened.isFolder() && opened.sameFile(seen);
        if (!same) {
            const int e = next.valid() ? EAGAIN : errno;
            // Swapped for a link or another folder between the look and the
            // open: look again, a few times.
            if (e != ENOTDIR && e != ELOOP && e != EAGAIN && e != ENOENT) return {e};
            if (++swaps > kMaxSwaps) return {EAGAIN};
            pending.push_front(component);
            continue;
        }
        cur = std::move(next);
    }
    return {};
}

}  // namespace

DeletionRules::LinkTrust DeletionRules::LinkTrust::currentUser() {
    return {::getuid()};
}

std::variant<DeletionRules::Target, FileError> DeletionRules::Locator::locate(
    const std::string& path) {
    if (path.empty()) return FileError::fromErrno(ENOENT);
    std::string name = PathText::lastComponent(path);
    if (name == "/") return FileError::refusal(FileError::protectedRoot);
    // Removing "." or ".." is never what a user confirmed.
    if (name == "." || name == "..") return FileError::fromErrno(EINVAL);
    std::string parentPath = PathText::parent(path);
    if (parentPath.empty()) parentPath.assign(1, '.');  // a bare name lives in the working folder

    if (!folder_.valid() || parentPath != folderPath_) {
        folder_.reset();
        const Walk walk = openFolder(parentPath, trust_, folder_);
        if (walk.untrustedLink) {
            folder_.reset();
            return FileError::refusal(FileError::untrustedLink);
        }
        int e = walk.errnum;
        if (e == 0) e = identify(folder_.get(), "", folderIdentity_);
        if (e != 0) {
            folder_.reset();
            return FileError::fromErrno(e);
        }
        folderPath_ = std::move(parentPath);
    }
    Target target;
    target.parent.reset(::fcntl(folder_.get(), F_DUPFD_CLOEXEC, 0));
    if (!target.parent.valid()) return FileError::fromErrno(errno);
    target.parentIdentity = folderIdentity_;
    if (const int e = identify(target.parent.get(), name.c_str(), target.item)) {
        return FileError::fromErrno(e);
    }
    if (roots_.contains(target.item)) return FileError::refusal(FileError::protectedRoot);
    if (!target.item.sameMount(target.parentIdentity)) {
        return FileError::refusal(FileError::mountPoint);
    }
    target.name = std::move(name);
    return target;
}

std::optional<FileError> DeletionRules::refuseMountsBelow(const std::string& physicalPath) {
    const auto table = MountTable::mountPoints();
    if (const int* e = std::get_if<int>(&table)) return FileError::fromErrno(*e);
    const std::string below = physicalPath == "/" ? "/" : physicalPath + "/";
    for (const std::string& point : std::get<std::vector<std::string>>(table)) {
        if (point.size() > below.size() && point.starts_with(below)) {
            return FileError::refusal(FileError::mountInsideNotMoved);
        }
    }
    return std::nullopt;
}

void DeletionRules::FailureVerdict::add(const FileError& error) {
    const auto keepFirst = [&error](std::optional<FileError>& slot) {
        if (!slot) slot = error;
    };
    if (error.isRefusal(FileError::stopped)) return keepFirst(stopped_);
    if (error.isRefusal(FileError::immutable)) return keepFirst(immutable_);
    const auto errnum = error.posixErrno();
    if (error.domain != FileError::refusalDomain && errnum &&
        (*errnum == EACCES || *errnum == EPERM)) {
        return keepFirst(denied_);
    }
    keepFirst(other_);
}

std::optional<FileError> DeletionRules::FailureVerdict::verdict() const {
    for (const auto* slot : {&stopped_, &denied_, &other_, &immutable_}) {
        if (*slot) return *slot;
    }
    return std::nullopt;
}

FileError DeletionRules::failure(int dirFd, const std::string& name, int errnum) {
    if ((errnum == EPERM || errnum == EACCES) &&
        (isImmutable(dirFd, name.c_str()) || isImmutable(dirFd, ""))) {
        return FileError::refusal(FileError::immutable, errnum);
    }
    return FileError::fromErrno(errnum);
}

namespace {

// The folders a trash keeps its bookkeeping in, below the trash folder itself.
constexpr std::array<std::string_view, 3> kTrashBookkeeping = {"files", "info", "directorysizes"};

}  // namespace

bool DeletionRules::mayBeTrashFolder(const std::string& name) {
    const std::string uid = std::to_string(::getuid());
    return name == "Trash" || name == ".Trash" || name == ".Trash-" + uid || name == uid ||
           std::find(kTrashBookkeeping.begin(), kTrashBookkeeping.end(), name) !=
               kTrashBookkeeping.end();
}

bool DeletionRules::isTrashFolder(const FileIdentity& item, const std::string& trashFolder) {
    FileIdentity own;
    if (identify(AT_FDCWD, trashFolder.c_str(), own) == 0 && own.sameFile(item)) return true;
    for (const std::string_view name : kTrashBookkeeping) {
        FileIdentity id;
        const std::string path = trashFolder + "/" + std::string(name);
        if (identify(AT_FDCWD, path.c_str(), id) == 0 && id.sameFile(item)) return true;
    }
    return false;
}

}  // namespace kelvane
