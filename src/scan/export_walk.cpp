#include "scan/export_walk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "core/unique_fd.h"
#include "scan/export_writer.h"
#include "scan/folder_stream.h"
#include "scan/same_mount_folder.h"

namespace kelvane {
namespace {

// Text is handed to the kernel in pieces of about this size: large enough that writing costs
// little next to the walk, small enough to stay out of the memory figures.
constexpr std::size_t kFlushBytes = 256 * 1024;

// Folders kept open at once; deeper ones are parked and opened again on the way back up, so a
// tree of any depth fits in the descriptor limit.
constexpr std::size_t kOpenFolders = 64;

std::int64_t allocatedBytes(const struct stat& status) {
    return static_cast<std::int64_t>(status.st_blocks) * 512;
}

struct Frame {
    FolderStream stream;
    dev_t dev;
    ino_t ino;
    std::string name;  // to find the folder again from the root when ".." does not lead back
};

struct InodeHash {
    std::size_t operator()(const std::pair<dev_t, ino_t>& key) const noexcept {
        return std::hash<std::uint64_t>()(key.second * 0x9e3779b97f4a7c15ULL ^ key.first);
    }
};

class ExportWalk {
  public:
    ExportWalk(int outFd, const ExportProgress& progress) : outFd_(outFd), progress_(progress) {
        text_.reserve(kFlushBytes + 64 * 1024);
    }

    ExportWalkResult run(const std::string& root, const std::string& rootName);

  private:
    void step();
    void enterFolder(const FolderItem& item, const struct stat& status, UniqueFd opened);
    void writeFile(std::string_view name, const struct stat& status);
    void leaveFolder();
    UniqueFd reopen(const Frame& below, const Frame& target);
    void counted(std::int64_t bytes);
    void flushIfFull() {
        if (text_.size() >= kFlushBytes) flush();
    }
    void flush();

    const int outFd_;
    const ExportProgress& progress_;
    std::string text_;
    ExportWriter writer_{text_};
    std::vector<Frame> stack_;
    std::size_t firstOpen_ = 0;  // frames below this index are parked
    UniqueFd rootFd_;
    dev_t rootDev_ = 0;
    std::unordered_set<std::pair<dev_t, ino_t>, InodeHash> linked_;
    std::vector<std::int64_t> totals_;  // bytes counted inside each open folder
    bool fillsEachRead_ = false;        // every folder walked is on the root's file system
    ExportWalkResult result_;
    std::int64_t items_ = 0;
    std::int64_t countedBytes_ = 0;
};

ExportWalkResult ExportWalk::run(const std::string& root, const std::string& rootName) {
    struct stat status {};
    // A root that is a link is followed, as the window's scan follows it.
    if (::stat(root.c_str(), &status) != 0 && ::lstat(root.c_str(), &status) != 0) {
        result_.rootErrno = errno;
        return result_;
    }
    rootDev_ = status.st_dev;
    ExportInfo info = ExportInfo::of(status);
    info.dev = status.st_dev;
    if (!S_ISDIR(status.st_mode)) {
        writer_.header(KELVANE_VERSION, std::time(nullptr));
        writer_.item(rootName, info);
        writer_.footer();
        counted(allocatedBytes(status));
        ++result_.stats.files;
        result_.stats.bytes = allocatedBytes(status);
        flush();
        return result_;
    }
    UniqueFd fd(::open(root.c_str(), kListFolderFlags));
    if (!fd.valid()) {
        result_.rootErrno = errno;
        return result_;
    }
    rootFd_ = UniqueFd(::fcntl(fd.get(), F_DUPFD_CLOEXEC, 0));
    writer_.header(KELVANE_VERSION, std::time(nullptr));
    writer_.beginFolder(rootName, info);
    ++result_.stats.dirs;
    totals_.push_back(allocatedBytes(status));
    fillsEachRead_ = FolderStream::fillsEachRead(fd.get());
    stack_.push_back(
        Frame{FolderStream(std::move(fd), fillsEachRead_), status.st_dev, status.st_ino, {}});
    while (!stack_.empty() && result_.writeErrno == 0) step();
    if (result_.writeErrno == 0) {
        writer_.footer();
        flush();
    }
    return result_;
}

void ExportWalk::step() {
    Frame& top = stack_.back();
    FolderItem item;
    switch (top.stream.next(item)) {
        case FolderStream::Step::failed:
            // The folder's info object is already out; its missing names show only in the count.
            ++result_.stats.unreadable;
            [[fallthrough]];
        case FolderStream::Step::end:
            leaveFolder();
            return;
        case FolderStream::Step::item:
            break;
    }
    struct stat status;
    if (item.type == DT_DIR) {
        UniqueFd fd = openFolderOnSameMount(top.stream.fd(), item.name);
        if (fd.valid() && ::fstat(fd.get(), &status) == 0 && S_ISDIR(status.st_mode)) {
            return enterFolder(item, status, std::move(fd));
        }
    }
    if (::fstatat(top.stream.fd(), item.name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        ExportInfo info;
        info.readError = true;
        writer_.item(item.view(), info);
        ++result_.stats.unreadable;
        counted(0);
        return flushIfFull();
    }
    if (S_ISDIR(status.st_mode)) return enterFolder(item, status, UniqueFd());
    writeFile(item.view(), status);
}

void ExportWalk::enterFolder(const FolderItem& item, const struct stat& status, UniqueFd opened) {
    const std::string_view name = item.view();
    ExportInfo info = ExportInfo::of(status);
    if (status.st_dev != rootDev_) {
        // Another file system: named, not entered and not counted, as ncdu -x and du -x do.
        ExportInfo mount;
        mount.dev = status.st_dev;
        mount.otherFileSystem = true;
        writer_.beginFolder(name, mount);
        writer_.endFolder();
        counted(0);
        return flushIfFull();
    }
    ++result_.stats.dirs;
    UniqueFd fd = std::move(opened);
    while (!fd.valid()) {
        fd =
            UniqueFd(::openat(stack_.back().stream.fd(), item.name, kListFolderFlags | O_NOFOLLOW));
        if (fd.valid() || (errno != EMFILE && errno != ENFILE) || firstOpen_ + 1 >= stack_.size()) {
            break;
        }
        stack_[firstOpen_++].stream.park();
    }
    if (!fd.valid()) {
        info.readError = true;
        writer_.beginFolder(name, info);
        writer_.endFolder();
        ++result_.stats.unreadable;
        totals_.back() += info.dsize;
        counted(info.dsize);
        return flushIfFull();
    }
    writer_.beginFolder(name, info);
    totals_.push_back(info.dsize);
    counted(info.dsize);
    stack_.push_back(Frame{FolderStream(std::move(fd), fillsEachRead_), status.st_dev,
                           status.st_ino, std::string(name)});
    if (stack_.size() - firstOpen_ > kOpenFolders) stack_[firstOpen_++].stream.park();
    flushIfFull();
}

void ExportWalk::writeFile(std::string_view name, const struct stat& status) {
    const ExportInfo info = ExportInfo::of(status);
    writer_.item(name, info);
    // Every name of a hard-linked file is written; its size counts at the first one only.
    const bool first = status.st_nlink < 2 || linked_.emplace(status.st_dev, status.st_ino).second;
    if (first) {
        ++result_.stats.files;
        totals_.back() += info.dsize;
    }
    counted(first ? info.dsize : 0);
    flushIfFull();
}

void ExportWalk::leaveFolder() {
    writer_.endFolder();
    Frame done = std::move(stack_.back());
    stack_.pop_back();
    const std::int64_t total = totals_.back();
    totals_.pop_back();
    if (totals_.empty()) {
        result_.stats.bytes = total;
    } else {
        totals_.back() += total;
    }
    if (firstOpen_ > stack_.size()) firstOpen_ = stack_.size();
    if (!stack_.empty() && stack_.back().stream.parked()) {
        if (!stack_.back().stream.resume(reopen(done, stack_.back()))) ++result_.stats.unreadable;
        firstOpen_ = stack_.size() - 1;
    }
    counted(0);
    flushIfFull();
}

// The parked folder `target`, just above the finished `below`: through ".." with its identity
// checked, or else by its names from the root.
UniqueFd ExportWalk::reopen(const Frame& below, const Frame& target) {
    UniqueFd up(::openat(below.stream.fd(), "..", kListFolderFlags));
    struct stat status {};
    if (up.valid() && ::fstat(up.get(), &status) == 0 && status.st_dev == target.dev &&
        status.st_ino == target.ino) {
        return up;
    }
    UniqueFd fd(rootFd_.valid() ? ::openat(rootFd_.get(), ".", kListFolderFlags) : -1);
    for (std::size_t i = 1; fd.valid() && i < stack_.size(); ++i) {
        fd = UniqueFd(::openat(fd.get(), stack_[i].name.c_str(), kListFolderFlags | O_NOFOLLOW));
        if (fd.valid() && (::fstat(fd.get(), &status) != 0 || status.st_ino != stack_[i].ino ||
                           status.st_dev != stack_[i].dev)) {
            fd.reset();
        }
    }
    return fd;
}

void ExportWalk::counted(std::int64_t bytes) {
    countedBytes_ += bytes;
    if (++items_ % Scanner::kPollInterval == 0 && progress_) progress_(items_, countedBytes_);
}

void ExportWalk::flush() {
    std::size_t done = 0;
    while (done < text_.size()) {
        const ssize_t n = ::write(outFd_, text_.data() + done, text_.size() - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            result_.writeErrno = errno;
            break;
        }
        done += static_cast<std::size_t>(n);
    }
    text_.clear();
}

}  // namespace

ExportWalkResult exportTree(const std::string& root, const std::string& rootName, int outFd,
                            const ExportProgress& progress) {
    return ExportWalk(outFd, progress).run(root, rootName);
}

}  // namespace kelvane
