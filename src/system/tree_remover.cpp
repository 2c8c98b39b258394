#include "system/tree_remover.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <memory>
#include <string_view>
#include <vector>

#include "core/path_text.h"
#include "system/unique_fd.h"

namespace kelvane {
namespace {

struct DirCloser {
    void operator()(DIR* d) const { closedir(d); }
};
using DirHandle = std::unique_ptr<DIR, DirCloser>;

// Opens the folder `path` for use as the base of *at calls. Links among the
// ancestors are followed (they are part of how the user reached the item);
// a path longer than PATH_MAX is opened one component at a time.
int openBase(const std::string& path, UniqueFd& fd) {
    constexpr int flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    if (path.size() < PATH_MAX) {
        fd.reset(::open(path.c_str(), flags));
        if (fd.valid()) return 0;
        if (errno != ENAMETOOLONG) return errno;
    }
    fd.reset(::open(path.starts_with('/') ? "/" : ".", flags));
    if (!fd.valid()) return errno;
    std::size_t start = 0;
    while (start < path.size()) {
        std::size_t end = path.find('/', start);
        if (end == std::string::npos) end = path.size();
        if (end > start) {
            const std::string component = path.substr(start, end - start);
            UniqueFd next(::openat(fd.get(), component.c_str(), flags));
            if (!next.valid()) return errno;
            fd = std::move(next);
        }
        start = end + 1;
    }
    return 0;
}

// One folder being emptied: its open stream, where it sits and what it is.
struct Level {
    DirHandle dir;
    std::string name;  // in the folder one level up
    std::string path;  // for error descriptions only
};

class Remover {
  public:
    explicit Remover(dev_t device) : device_(device) {}

    // Records the first failure; later ones change nothing.
    void fail(int errnum, const char* operation, const std::string& path) {
        if (!error_) error_ = FileError::fromErrno(errnum, operation, path);
    }

    // Opens the folder `name` in `parentFd` without following a link, and
    // checks that it is the very folder that was looked at (not swapped in
    // the meantime) and lies on the same file system. On failure `failure`
    // says which call failed and how.
    struct Failure {
        int errnum = 0;
        const char* operation = "";
    };
    static DirHandle openFolder(int parentFd, const std::string& name, const struct stat& seen,
                                dev_t device, Failure& failure) {
        UniqueFd fd(
            ::openat(parentFd, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!fd.valid()) {
            failure = {errno, "open"};
            return nullptr;
        }
        struct stat now {};
        if (::fstat(fd.get(), &now) != 0) {
            failure = {errno, "fstat"};
            return nullptr;
        }
        if (now.st_dev != seen.st_dev || now.st_ino != seen.st_ino) {
            failure = {EAGAIN, "open"};
            return nullptr;
        }
        if (now.st_dev != device) {
            // A file system mounted inside the tree is not ours to empty.
            failure = {EXDEV, "open"};
            return nullptr;
        }
        DirHandle dir(::fdopendir(fd.get()));
        if (!dir) {
            failure = {errno, "fdopendir"};
            return nullptr;
        }
        fd.release();  // now owned by the stream
        return dir;
    }

    // Descends into the folder `name` of `parentFd`, or, when it cannot be
    // opened, removes it if it happens to be empty; only when that fails too
    // does the opening error count.
    void enter(std::vector<Level>& stack, int parentFd, const std::string& name,
               const struct stat& seen, const std::string& path) {
        Failure failure;
        if (DirHandle dir = openFolder(parentFd, name, seen, device_, failure)) {
            stack.push_back({std::move(dir), name, path});
        } else if (::unlinkat(parentFd, name.c_str(), AT_REMOVEDIR) != 0) {
            fail(failure.errnum, failure.operation, path);
        }
    }

    // Removes the folder `name` in `parentFd` with everything below it.
    // Iterative, so the depth of the tree is bounded by descriptors, not by
    // the stack.
    void removeFolder(int parentFd, const std::string& name, const struct stat& seen,
                      const std::string& path) {
        std::vector<Level> stack;
        enter(stack, parentFd, name, seen, path);
        while (!stack.empty()) {
            Level& level = stack.back();
            const int fd = dirfd(level.dir.get());
            errno = 0;
            const dirent* entry = ::readdir(level.dir.get());
            if (entry == nullptr) {
                if (errno != 0) fail(errno, "readdir", level.path);
                const std::string doneName = level.name;
                const std::string donePath = level.path;
                stack.pop_back();
                const int upFd = stack.empty() ? parentFd : dirfd(stack.back().dir.get());
                if (::unlinkat(upFd, doneName.c_str(), AT_REMOVEDIR) != 0) {
                    fail(errno, "rmdir", donePath);
                }
                continue;
            }
            const std::string_view childName = entry->d_name;
            if (childName == "." || childName == "..") continue;
            const std::string child(childName);
            const std::string childPath = level.path + "/" + child;
            bool isFolder = entry->d_type == DT_DIR;
            struct stat childStat {};
            if (entry->d_type == DT_DIR || entry->d_type == DT_UNKNOWN) {
                if (::fstatat(fd, child.c_str(), &childStat, AT_SYMLINK_NOFOLLOW) != 0) {
                    fail(errno, "lstat", childPath);
                    continue;
                }
                isFolder = S_ISDIR(childStat.st_mode);
            }
            if (!isFolder) {
                if (::unlinkat(fd, child.c_str(), 0) != 0) fail(errno, "unlink", childPath);
                continue;
            }
            enter(stack, fd, child, childStat, childPath);
        }
    }

    std::optional<FileError> result() const { return error_; }

  private:
    dev_t device_;
    std::optional<FileError> error_;
};

}  // namespace

std::optional<FileError> TreeRemover::remove(const std::string& path) {
    const std::string name = PathText::lastComponent(path);
    if (path.empty()) return FileError::fromErrno(ENOENT, "remove", path);
    // Removing "/", "." or ".." is never what a user confirmed.
    if (name == "/" || name == "." || name == "..") {
        return FileError::fromErrno(EINVAL, "remove", path);
    }
    std::string parent = PathText::parent(path);
    if (parent.empty()) parent.assign(1, '.');  // a bare name lives in the working folder

    UniqueFd parentFd;
    if (const int e = openBase(parent, parentFd)) return FileError::fromErrno(e, "open", parent);
    struct stat item {};
    if (::fstatat(parentFd.get(), name.c_str(), &item, AT_SYMLINK_NOFOLLOW) != 0) {
        return FileError::fromErrno(errno, "lstat", path);
    }
    if (!S_ISDIR(item.st_mode)) {
        if (::unlinkat(parentFd.get(), name.c_str(), 0) != 0) {
            return FileError::fromErrno(errno, "unlink", path);
        }
        return std::nullopt;
    }
    Remover remover(item.st_dev);
    remover.removeFolder(parentFd.get(), name, item, path);
    return remover.result();
}

}  // namespace kelvane
