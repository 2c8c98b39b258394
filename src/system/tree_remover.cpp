#include "system/tree_remover.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <set>
#include <string_view>
#include <variant>
#include <vector>

#include "core/unique_fd.h"
#include "system/deletion_progress.h"

namespace kelvane {
namespace {

// Folders held open at once. Deeper trees close the ones nearest the top
// and reopen them through ".." on the way back up.
constexpr std::size_t kOpenLevels = 64;

struct DirCloser {
    void operator()(DIR* d) const { closedir(d); }
};
using DirHandle = std::unique_ptr<DIR, DirCloser>;

// One folder being emptied.
struct Level {
    DirHandle dir;     // null while closed to save descriptors
    std::string name;  // in the folder one level up
    FileIdentity identity;
    // Names that could not be removed: skipped when the folder is read
    // again after being reopened, so nothing is tried twice.
    std::set<std::string> leftBehind;
    bool incomplete = false;
};

bool isPermission(int errnum) {
    return errnum == EACCES || errnum == EPERM;
}

// The allocated bytes that removing `name` gives back: nothing while other
// hard links keep the file.
std::int64_t freedBy(int dirFd, const char* name) {
    struct statx sx {};
    if (::statx(dirFd, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_BLOCKS | STATX_NLINK,
                &sx) != 0) {
        return 0;
    }
    const bool lastLink =
        (sx.stx_mask & STATX_NLINK) == 0 || sx.stx_nlink <= 1 || S_ISDIR(sx.stx_mode);
    return lastLink ? static_cast<std::int64_t>(sx.stx_blocks) * 512 : 0;
}

class Remover {
  public:
    Remover(int topFd, const FileIdentity& tree, DeletionProgress* progress)
        : topFd_(topFd), tree_(tree), euid_(::geteuid()), progress_(progress) {}

    void run(const std::string& name, const FileIdentity& seen) {
        enter(topFd_, name, seen);
        while (!stack_.empty()) step();
    }

    std::optional<FileError> result() const { return failures_.verdict(); }

  private:
    void fail(const FileError& error) { failures_.add(error); }

    void failAt(int dirFd, const std::string& name, int errnum) {
        fail(DeletionRules::failure(dirFd, name, errnum));
    }

    // `name` stays in the folder on top of the stack, and so does that folder.
    void leave(const std::string& name) {
        if (stack_.empty()) return;
        stack_.back().leftBehind.insert(name);
        stack_.back().incomplete = true;
    }

    // The owner may give themselves the rights a folder of theirs lacks;
    // done only for folders inside the item being removed. Root needs none.
    bool unlock(int fd, FileIdentity& identity) {
        if (euid_ == 0 || identity.uid != euid_) return false;
        if ((identity.mode & S_IRWXU) == S_IRWXU) return false;  // not what stands in the way
        const mode_t mode = (identity.mode | S_IRWXU) & 07777;
        if (::fchmod(fd, mode) != 0) return false;
        identity.mode = (identity.mode & ~07777) | mode;
        return true;
    }

    // The same for a folder we cannot open yet: reached by an O_PATH
    // descriptor (which never follows a link) whose identity is checked, and
    // changed through its /proc name, since fchmod refuses O_PATH.
    bool unlockUnopened(int parentFd, const std::string& name, const FileIdentity& seen) {
        if (euid_ == 0 || seen.uid != euid_) return false;
        const UniqueFd fd(::openat(parentFd, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        FileIdentity now;
        if (!fd.valid() || identify(fd.get(), "", now) != 0 || !now.isFolder() ||
            !now.sameFile(seen)) {
            return false;
        }
        const std::string procName = "/proc/self/fd/" + std::to_string(fd.get());
        return ::chmod(procName.c_str(), (now.mode | S_IRWXU) & 07777) == 0;
    }

    // Opens the folder `name` of `parentFd` without following a link and
    // checks it is the folder that was looked at, on the tree's mount.
    DirHandle open(int parentFd, const std::string& name, const FileIdentity& seen, int& errnum,
                   bool& otherMount) {
        UniqueFd fd(
            ::openat(parentFd, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!fd.valid()) {
            errnum = errno;
            return nullptr;
        }
        FileIdentity now;
        if (const int e = identify(fd.get(), "", now)) {
            errnum = e;
            return nullptr;
        }
        if (!now.sameFile(seen)) {
            errnum = EAGAIN;
            return nullptr;
        }
        if (!now.sameMount(tree_)) {
            otherMount = true;
            return nullptr;
        }
        DirHandle dir(::fdopendir(fd.get()));
        if (!dir) {
            errnum = errno;
            return nullptr;
        }
        fd.release();  // now owned by the stream
        return dir;
    }

    void enter(int parentFd, const std::string& name, const FileIdentity& seen) {
        int errnum = 0;
        bool otherMount = false;
        DirHandle dir = open(parentFd, name, seen, errnum, otherMount);
        if (!dir && errnum == EACCES && unlockUnopened(parentFd, name, seen)) {
            dir = open(parentFd, name, seen, errnum, otherMount);
        }
        if (dir) {
            stack_.push_back({std::move(dir), name, seen, {}, false});
            closeFarLevels();
            return;
        }
        if (otherMount) {
            fail(FileError::refusal(FileError::mountInside));
            return leave(name);
        }
        if (errnum == ENOENT) return;
        if (errnum == EAGAIN) {
            fail(FileError::refusal(FileError::changedMeanwhile));
            return leave(name);
        }
        // A folder that cannot be read may still be empty, and then it can go.
        if (removeEntry(parentFd, name, AT_REMOVEDIR)) return;
        failAt(parentFd, name, errnum);
        leave(name);
    }

    // unlinkat that counts an entry already gone as removed and, when the
    // containing folder is the user's own and merely not writable, makes it
    // writable and tries once more.
    bool removeEntry(int dirFd, const std::string& name, int flags) {
        const std::int64_t bytes = progress_ ? freedBy(dirFd, name.c_str()) : 0;
        if (::unlinkat(dirFd, name.c_str(), flags) == 0 || errno == ENOENT) return counted(bytes);
        const int errnum = errno;
        if (!isPermission(errnum) || stack_.empty() || !stack_.back().dir ||
            dirfd(stack_.back().dir.get()) != dirFd || !unlock(dirFd, stack_.back().identity)) {
            errno = errnum;
            return false;
        }
        return (::unlinkat(dirFd, name.c_str(), flags) == 0 || errno == ENOENT) && counted(bytes);
    }

    bool counted(std::int64_t bytes) {
        if (progress_) progress_->removed(bytes);
        return true;
    }

    void closeFarLevels() {
        std::size_t open = 0;
        for (auto it = stack_.rbegin(); it != stack_.rend() && it->dir; ++it) ++open;
        if (open > kOpenLevels) stack_[stack_.size() - open].dir.reset();
    }

    // Reopens `up` (closed earlier) from its child's descriptor.
    bool reopen(Level& up, int childFd) {
        UniqueFd fd(::openat(childFd, "..", O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        FileIdentity now;
        if (!fd.valid() || identify(fd.get(), "", now) != 0 || !now.sameFile(up.identity)) {
            return false;
        }
        up.dir.reset(::fdopendir(fd.get()));
        if (!up.dir) return false;
        fd.release();
        return true;
    }

    // The folder on top of the stack has been read to its end: remove it.
    void finish(int readError) {
        Level done = std::move(stack_.back());
        stack_.pop_back();
        if (readError != 0) {
            failAt(dirfd(done.dir.get()), "", readError);
            done.incomplete = true;
        }
        if (!stack_.empty() && !stack_.back().dir &&
            !reopen(stack_.back(), dirfd(done.dir.get()))) {
            // The way back up no longer leads where we came from: stop
            // rather than delete anywhere else.
            fail(FileError::refusal(FileError::changedMeanwhile));
            stack_.clear();
            return;
        }
        done.dir.reset();
        const int upFd = stack_.empty() ? topFd_ : dirfd(stack_.back().dir.get());
        if (removeEntry(upFd, done.name, AT_REMOVEDIR)) return;
        // An incomplete folder is not empty; its first failure says why.
        if (!done.incomplete) failAt(upFd, done.name, errno);
        leave(done.name);
    }

    void step() {
        if (progress_ && progress_->stopRequested()) {
            // Asked to stop: nothing more is removed, and the item says so.
            fail(FileError::refusal(FileError::stopped));
            stack_.clear();
            return;
        }
        Level& level = stack_.back();
        const int fd = dirfd(level.dir.get());
        errno = 0;
        const dirent* entry = ::readdir(level.dir.get());
        if (entry == nullptr) return finish(errno);
        const std::string_view view = entry->d_name;
        if (view == "." || view == ".." || level.leftBehind.count(std::string(view)) != 0) return;
        const std::string name(view);
        FileIdentity child;
        bool isFolder = entry->d_type == DT_DIR;
        if (entry->d_type == DT_DIR || entry->d_type == DT_UNKNOWN) {
            if (const int e = identify(fd, name.c_str(), child)) {
                if (e == ENOENT) return;
                failAt(fd, name, e);
                return leave(name);
            }
            isFolder = child.isFolder();
        }
        if (!isFolder) {
            if (removeEntry(fd, name, 0)) return;
            failAt(fd, name, errno);
            return leave(name);
        }
        if (!child.sameMount(tree_)) {
            fail(FileError::refusal(FileError::mountInside));
            return leave(name);
        }
        enter(fd, name, child);
    }

    int topFd_;
    FileIdentity tree_;
    uid_t euid_;
    DeletionProgress* progress_;
    std::vector<Level> stack_;
    DeletionRules::FailureVerdict failures_;
};

}  // namespace

std::optional<FileError> TreeRemover::remove(const std::string& path) {
    DeletionRules::Locator locator(DeletionRules::LinkTrust::currentUser());
    return remove(path, locator);
}

std::optional<FileError> TreeRemover::remove(const std::string& path,
                                             DeletionRules::Locator& locator,
                                             DeletionProgress* progress) {
    auto located = locator.locate(path);
    if (auto* error = std::get_if<FileError>(&located)) return std::move(*error);
    const auto& target = std::get<DeletionRules::Target>(located);
    if (!target.item.isFolder()) {
        const std::int64_t bytes = progress ? freedBy(target.parent.get(), target.name.c_str()) : 0;
        if (::unlinkat(target.parent.get(), target.name.c_str(), 0) == 0 || errno == ENOENT) {
            if (progress) progress->removed(bytes);
            return std::nullopt;
        }
        return DeletionRules::failure(target.parent.get(), target.name, errno);
    }
    Remover remover(target.parent.get(), target.item, progress);
    remover.run(target.name, target.item);
    return remover.result();
}

}  // namespace kelvane
