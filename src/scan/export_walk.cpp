#include "scan/export_walk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <ctime>
#include <deque>
#include <list>
#include <mutex>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <unordered_set>
#include <vector>

#include "core/unique_fd.h"
#include "scan/export_writer.h"
#include "scan/folder_stream.h"
#include "scan/same_mount_folder.h"

namespace kelvane {
namespace {

// A thread hands its text over in pieces of about this size: large enough that the lock and
// the write cost little next to the walk.
constexpr std::size_t kCommitBytes = 256 * 1024;

// Text waiting behind a segment that is not finished yet. Past this, threads whose text must
// wait stop until it has gone out; the thread writing the first segment never waits.
constexpr std::size_t kWaitingBytes = 32 * 1024 * 1024;

// Folders one thread keeps open at once; deeper ones are parked and opened again on the way
// back up, so a tree of any depth fits in the descriptor limit.
constexpr std::size_t kOpenFolders = 64;

// Writes all of `text`; the errno of a failed write, else 0.
int writeText(int fd, std::string_view text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return errno;
        done += static_cast<std::size_t>(n);
    }
    return 0;
}

std::int64_t allocatedBytes(const struct stat& status) {
    return static_cast<std::int64_t>(status.st_blocks) * 512;
}

// A stretch of the export's text, written by one thread. The export is the segments in order.
struct Segment {
    std::string text;
    bool finished = false;
};
using SegmentList = std::list<Segment>;

struct InodeHash {
    std::size_t operator()(const std::pair<dev_t, ino_t>& key) const noexcept {
        return std::hash<std::uint64_t>()(key.second * 0x9e3779b97f4a7c15ULL ^ key.first);
    }
};

// A folder handed to another thread: its descriptor, what its info object says, and where its
// text goes.
struct Unit {
    UniqueFd fd;
    std::string name;
    ExportInfo info;
    dev_t dev;
    ino_t ino;
    SegmentList::iterator segment;
};

class ExportRun;

// One thread's walk of one unit (the root, or a folder handed over), depth first.
class UnitWalker {
  public:
    UnitWalker(ExportRun& run, bool caller) : run_(run), caller_(caller) {
        text_.reserve(kCommitBytes + 64 * 1024);
    }
    void walk(Unit unit);

  private:
    struct Frame {
        FolderStream stream;
        dev_t dev;
        ino_t ino;
        std::string name;  // to find the folder again from the unit's root
    };

    void step();
    void enterFolder(const FolderItem& item, const struct stat& status, UniqueFd opened);
    void writeFile(std::string_view name, const struct stat& status);
    void leaveFolder();
    UniqueFd reopen(const Frame& below, const Frame& target);
    void counted(std::int64_t bytes);
    void commit(bool finished);

    ExportRun& run_;
    const bool caller_;
    std::string text_;
    ExportWriter writer_{text_};
    SegmentList::iterator segment_;
    std::vector<Frame> stack_;
    std::size_t firstOpen_ = 0;  // frames below this index are parked
    UniqueFd unitFd_;            // a spare descriptor of the unit's folder
    std::int64_t items_ = 0;
    std::int64_t bytes_ = 0;
};

// What every thread of one export shares: the segments, the folders offered, the counts.
class ExportRun {
  public:
    ExportRun(int outFd, const ExportProgress& progress, dev_t rootDev, bool fillsEachRead)
        : rootDev_(rootDev), fillsEachRead_(fillsEachRead), outFd_(outFd), progress_(progress) {}

    // A segment after every other one.
    SegmentList::iterator lastSegment() {
        const std::lock_guard guard(mutex_);
        segments_.emplace_back();
        return std::prev(segments_.end());
    }

    // Runs the root unit on the calling thread and `threads - 1` helpers, until all is out.
    void run(Unit root, int threads);

    // Whether a thread may be waiting for a folder to walk.
    bool wanted() const { return idle_.load(std::memory_order_relaxed) > 0; }
    // Hands a folder to a waiting thread: its text goes in a segment placed after `after`, and
    // the returned segment, after that one, takes the offering thread's text from here on.
    // Nothing when no thread is free after all: the unit comes back through `unit`. Every
    // folder offered thus has a thread that takes it at once, so the first segment always
    // belongs to a thread that is walking.
    std::optional<SegmentList::iterator> offer(Unit& unit, SegmentList::iterator after);

    // Appends `text` to `segment`, writes out whatever is now first in line, and waits while
    // too much text is waiting behind an unfinished segment (unless this one is first).
    void append(SegmentList::iterator segment, std::string& text, bool finished);

    bool firstMeeting(dev_t dev, ino_t ino) {
        const std::lock_guard guard(linkMutex_);
        return linked_.emplace(dev, ino).second;
    }
    void addCounts(std::int64_t files, std::int64_t dirs, std::int64_t unreadable) {
        files_.fetch_add(files, std::memory_order_relaxed);
        dirs_.fetch_add(dirs, std::memory_order_relaxed);
        unreadable_.fetch_add(unreadable, std::memory_order_relaxed);
    }
    void addProgress(std::int64_t items, std::int64_t bytes) {
        items_.fetch_add(items, std::memory_order_relaxed);
        bytes_.fetch_add(bytes, std::memory_order_relaxed);
    }
    void report() {
        if (progress_ && !progress_(items_.load(std::memory_order_relaxed), bytes_.load())) {
            const std::lock_guard guard(mutex_);
            int none = 0;
            writeErrno_.compare_exchange_strong(none, ECANCELED);
            changed_.notify_all();
        }
    }
    bool stopping() const { return writeErrno_.load(std::memory_order_relaxed) != 0; }

    ExportWalkResult result() const {
        ExportWalkResult result;
        result.stats = ScanStats{bytes_.load(), files_.load(), dirs_.load(), unreadable_.load()};
        result.writeErrno = writeErrno_.load();
        return result;
    }

    const dev_t rootDev_;
    const bool fillsEachRead_;

  private:
    void help();
    void unitDone();
    void writeOut();  // with mutex_ held

    const int outFd_;
    const ExportProgress& progress_;

    std::mutex mutex_;
    std::condition_variable changed_;
    SegmentList segments_;
    std::size_t waitingBytes_ = 0;  // text in segments behind the first
    std::deque<Unit> offered_;
    int unfinished_ = 0;  // units offered or being walked
    std::atomic<int> idle_{0};
    std::atomic<int> writeErrno_{0};

    std::mutex linkMutex_;
    std::unordered_set<std::pair<dev_t, ino_t>, InodeHash> linked_;

    std::atomic<std::int64_t> items_{0};
    std::atomic<std::int64_t> bytes_{0};
    std::atomic<std::int64_t> files_{0};
    std::atomic<std::int64_t> dirs_{0};
    std::atomic<std::int64_t> unreadable_{0};
};

void ExportRun::run(Unit root, int threads) {
    unfinished_ = 1;
    std::vector<std::jthread> helpers;
    for (int i = 1; i < threads; ++i) {
        try {
            helpers.emplace_back([this] { help(); });
        } catch (const std::system_error&) {
            break;  // no thread to be had: the ones there are do the work
        }
    }
    UnitWalker(*this, true).walk(std::move(root));
    unitDone();
    help();
}

void ExportRun::unitDone() {
    const std::lock_guard guard(mutex_);
    --unfinished_;
    changed_.notify_all();
}

// Waits for offered folders and walks them, until every unit is finished (or writing failed).
void ExportRun::help() {
    for (;;) {
        std::unique_lock lock(mutex_);
        idle_.fetch_add(1, std::memory_order_relaxed);
        changed_.wait(lock, [&] { return !offered_.empty() || unfinished_ == 0 || stopping(); });
        idle_.fetch_sub(1, std::memory_order_relaxed);
        if (offered_.empty()) {
            changed_.notify_all();
            return;
        }
        Unit unit = std::move(offered_.front());
        offered_.pop_front();
        lock.unlock();
        UnitWalker(*this, false).walk(std::move(unit));
        unitDone();
    }
}

std::optional<SegmentList::iterator> ExportRun::offer(Unit& unit, SegmentList::iterator after) {
    const std::lock_guard guard(mutex_);
    if (static_cast<std::size_t>(idle_.load(std::memory_order_relaxed)) <= offered_.size()) {
        return std::nullopt;
    }
    const auto theirs = segments_.emplace(std::next(after));
    const auto mine = segments_.emplace(std::next(theirs));
    unit.segment = theirs;
    offered_.push_back(std::move(unit));
    ++unfinished_;
    changed_.notify_all();
    return mine;
}

void ExportRun::append(SegmentList::iterator segment, std::string& text, bool finished) {
    std::unique_lock lock(mutex_);
    if (segment != segments_.begin()) waitingBytes_ += text.size();
    segment->text += text;
    text.clear();
    segment->finished = finished;
    writeOut();
    if (finished) {
        changed_.notify_all();
        return;
    }
    changed_.wait(lock, [&] {
        return segment == segments_.begin() || waitingBytes_ < kWaitingBytes || stopping();
    });
}

void ExportRun::writeOut() {
    bool moved = false;
    while (!segments_.empty() && !stopping()) {
        Segment& first = segments_.front();
        if (const int error = writeText(outFd_, first.text); error != 0) {
            writeErrno_.store(error);
            changed_.notify_all();
            return;
        }
        first.text.clear();
        first.text.shrink_to_fit();
        if (!first.finished) break;
        segments_.pop_front();
        moved = true;
        // The new first segment's text no longer waits.
        if (!segments_.empty())
            waitingBytes_ -= std::min(waitingBytes_, segments_.front().text.size());
    }
    if (moved) changed_.notify_all();
}

void UnitWalker::walk(Unit unit) {
    segment_ = unit.segment;
    unitFd_ = UniqueFd(::fcntl(unit.fd.get(), F_DUPFD_CLOEXEC, 0));
    writer_.beginFolder(unit.name, unit.info);
    stack_.push_back(
        Frame{FolderStream(std::move(unit.fd), run_.fillsEachRead_), unit.dev, unit.ino, {}});
    while (!stack_.empty() && !run_.stopping()) step();
    run_.addProgress(items_, bytes_);
    commit(true);
}

void UnitWalker::step() {
    Frame& top = stack_.back();
    FolderItem item;
    switch (top.stream.next(item)) {
        case FolderStream::Step::failed:
            // The folder's info object is already out; its missing names show only in the count.
            run_.addCounts(0, 0, 1);
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
        run_.addCounts(0, 0, 1);
        return counted(0);
    }
    if (S_ISDIR(status.st_mode)) return enterFolder(item, status, UniqueFd());
    writeFile(item.view(), status);
}

void UnitWalker::enterFolder(const FolderItem& item, const struct stat& status, UniqueFd opened) {
    const std::string_view name = item.view();
    ExportInfo info = ExportInfo::of(status);
    if (status.st_dev != run_.rootDev_) {
        // Another file system: named, not entered and not counted, as ncdu -x and du -x do.
        ExportInfo mount;
        mount.dev = status.st_dev;
        mount.otherFileSystem = true;
        writer_.beginFolder(name, mount);
        writer_.endFolder();
        return counted(0);
    }
    run_.addCounts(0, 1, 0);
    UniqueFd fd = std::move(opened);
    while (!fd.valid()) {
        fd =
            UniqueFd(::openat(stack_.back().stream.fd(), item.name, kListFolderFlags | O_NOFOLLOW));
        if (fd.valid() || (errno != EMFILE && errno != ENFILE) || firstOpen_ + 1 >= stack_.size()) {
            break;
        }
        stack_[firstOpen_++].stream.park();
    }
    counted(info.dsize);
    if (!fd.valid()) {
        info.readError = true;
        writer_.beginFolder(name, info);
        writer_.endFolder();
        run_.addCounts(0, 0, 1);
        return;
    }
    if (run_.wanted()) {
        // Another thread walks this folder into a segment of its own; this thread goes on
        // after it, in a new segment.
        Unit unit{std::move(fd), std::string(name), info, status.st_dev, status.st_ino, {}};
        if (const std::optional<SegmentList::iterator> next = run_.offer(unit, segment_)) {
            writer_.elsewhere();
            commit(true);
            segment_ = *next;
            return;
        }
        fd = std::move(unit.fd);
    }
    writer_.beginFolder(name, info);
    stack_.push_back(Frame{FolderStream(std::move(fd), run_.fillsEachRead_), status.st_dev,
                           status.st_ino, std::string(name)});
    if (stack_.size() - firstOpen_ > kOpenFolders) stack_[firstOpen_++].stream.park();
}

void UnitWalker::writeFile(std::string_view name, const struct stat& status) {
    const ExportInfo info = ExportInfo::of(status);
    writer_.item(name, info);
    // Every name of a hard-linked file is written; its size counts at the first one only.
    const bool first = status.st_nlink < 2 || run_.firstMeeting(status.st_dev, status.st_ino);
    if (first) run_.addCounts(1, 0, 0);
    counted(first ? info.dsize : 0);
}

void UnitWalker::leaveFolder() {
    writer_.endFolder();
    Frame done = std::move(stack_.back());
    stack_.pop_back();
    if (firstOpen_ > stack_.size()) firstOpen_ = stack_.size();
    if (!stack_.empty() && stack_.back().stream.parked()) {
        if (!stack_.back().stream.resume(reopen(done, stack_.back()))) run_.addCounts(0, 0, 1);
        firstOpen_ = stack_.size() - 1;
    }
    counted(0);
}

// The parked folder `target`, just above the finished `below`: through ".." with its identity
// checked, or else by its names from the unit's folder.
UniqueFd UnitWalker::reopen(const Frame& below, const Frame& target) {
    UniqueFd up(::openat(below.stream.fd(), "..", kListFolderFlags));
    struct stat status {};
    if (up.valid() && ::fstat(up.get(), &status) == 0 && status.st_dev == target.dev &&
        status.st_ino == target.ino) {
        return up;
    }
    UniqueFd fd(unitFd_.valid() ? ::openat(unitFd_.get(), ".", kListFolderFlags) : -1);
    for (std::size_t i = 1; fd.valid() && i < stack_.size(); ++i) {
        fd = UniqueFd(::openat(fd.get(), stack_[i].name.c_str(), kListFolderFlags | O_NOFOLLOW));
        if (fd.valid() && (::fstat(fd.get(), &status) != 0 || status.st_ino != stack_[i].ino ||
                           status.st_dev != stack_[i].dev)) {
            fd.reset();
        }
    }
    return fd;
}

void UnitWalker::counted(std::int64_t bytes) {
    bytes_ += bytes;
    if (++items_ % 1024 == 0) {
        run_.addProgress(items_, bytes_);
        items_ = 0;
        bytes_ = 0;
        if (caller_) run_.report();
    }
    if (text_.size() >= kCommitBytes) commit(false);
}

void UnitWalker::commit(bool finished) {
    run_.append(segment_, text_, finished);
}

}  // namespace

namespace {

// One root's entry of an export, between the text that comes before it and the text after it.
// When the root cannot be examined nothing is written and `before` is left as it was.
ExportWalkResult exportEntry(const std::string& root, const std::string& rootName, int outFd,
                             const ExportProgress& progress, int threads, std::string& before,
                             std::string after, std::optional<dev_t> parentDev = std::nullopt) {
    ExportWalkResult result;
    struct stat status {};
    // A root that is a link is followed, as the window's scan follows it.
    if (::stat(root.c_str(), &status) != 0 && ::lstat(root.c_str(), &status) != 0) {
        result.rootErrno = errno;
        return result;
    }
    ExportInfo info = ExportInfo::of(status);
    if (parentDev != status.st_dev) info.dev = status.st_dev;
    ExportWriter writer(before);
    if (!S_ISDIR(status.st_mode)) {
        writer.item(rootName, info);
        before += after;
        ExportRun run(outFd, progress, status.st_dev, false);
        run.append(run.lastSegment(), before, true);
        result = run.result();
        result.stats = ScanStats{allocatedBytes(status), 1, 0, 0};
        return result;
    }
    UniqueFd fd(::open(root.c_str(), kListFolderFlags));
    if (!fd.valid()) {
        result.rootErrno = errno;
        return result;
    }
    const bool fills = FolderStream::fillsEachRead(fd.get());
    ExportRun run(outFd, progress, status.st_dev, fills);
    const SegmentList::iterator first = run.lastSegment();
    run.append(first, before, false);
    run.addCounts(0, 1, 0);
    run.addProgress(0, allocatedBytes(status));
    if (threads <= 0) threads = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    // The root's segment ends with the root folder; what follows it goes alone.
    run.run(Unit{std::move(fd), rootName, info, status.st_dev, status.st_ino, first}, threads);
    if (!run.stopping() && !after.empty()) run.append(run.lastSegment(), after, true);
    return run.result();
}

std::string documentStart() {
    std::string text;
    ExportWriter(text).header(KELVANE_VERSION, std::time(nullptr));
    return text;
}

std::string documentEnd() {
    std::string text;
    ExportWriter(text).footer();
    return text;
}

// The names of `path` below `above` ("/a/b/c" below "/a": "b", "c").
std::vector<std::string> namesBelow(const std::string& above, const std::string& path) {
    std::vector<std::string> names;
    std::size_t at = above == "/" ? 1 : above.size() + 1;
    while (at < path.size()) {
        const std::size_t slash = path.find('/', at);
        const std::size_t end = slash == std::string::npos ? path.size() : slash;
        if (end > at) names.push_back(path.substr(at, end - at));
        at = end + 1;
    }
    return names;
}

bool within(const std::string& path, const std::string& folder) {
    if (folder == "/") return true;
    return path.size() > folder.size() && path.compare(0, folder.size(), folder) == 0 &&
           path[folder.size()] == '/';
}

}  // namespace

ExportWalkResult exportTree(const std::string& root, const std::string& rootName, int outFd,
                            const ExportProgress& progress, int threads) {
    std::string start = documentStart();
    return exportEntry(root, rootName, outFd, progress, threads, start, documentEnd());
}

ExportWalkResult exportRoots(std::vector<std::string> roots, int outFd,
                             const ExportProgress& progress, int threads) {
    for (std::string& root : roots) {
        while (root.size() > 1 && root.back() == '/') root.pop_back();
    }
    std::sort(roots.begin(), roots.end());
    roots.erase(std::unique(roots.begin(), roots.end()), roots.end());
    // Sorted, a root inside another comes right after it or after others inside it.
    std::vector<std::string> outer;
    for (const std::string& root : roots) {
        if (outer.empty() || !within(root, outer.back())) outer.push_back(root);
    }
    ExportWalkResult total;
    if (outer.empty()) {
        total.rootErrno = ENOENT;
        return total;
    }
    if (outer.size() == 1)
        return exportTree(outer.front(), outer.front(), outFd, progress, threads);

    std::string shared = outer.front();
    while (!std::all_of(outer.begin(), outer.end(),
                        [&](const std::string& root) { return within(root, shared); })) {
        const std::size_t slash = shared.rfind('/');
        shared = slash == 0 ? "/" : shared.substr(0, slash);
    }
    struct stat status {};
    if (::stat(shared.c_str(), &status) != 0) {
        total.rootErrno = errno;
        return total;
    }
    // The folders on the way down count nothing; the top one says which device it is on.
    ExportInfo top;
    top.dev = status.st_dev;
    const ExportInfo way;

    std::string text = documentStart();
    ExportWriter writer(text);
    writer.beginFolder(shared, top);
    std::vector<std::string> open;  // folders on the way, below `shared`, open now
    std::int64_t itemsBefore = 0;
    std::int64_t bytesBefore = 0;
    for (const std::string& root : outer) {
        std::vector<std::string> names = namesBelow(shared, root);
        const std::string leaf = names.back();
        names.pop_back();
        std::size_t common = 0;
        while (common < open.size() && common < names.size() && open[common] == names[common])
            ++common;
        for (; open.size() > common; open.pop_back()) writer.endFolder();
        for (; open.size() < names.size(); open.push_back(names[open.size()]))
            writer.beginFolder(names[open.size()], way);
        const std::string unwritten = text;
        writer.elsewhere();
        const ExportProgress shifted = [&](std::int64_t items, std::int64_t bytes) {
            return !progress || progress(itemsBefore + items, bytesBefore + bytes);
        };
        const ExportWalkResult one =
            exportEntry(root, leaf, outFd, shifted, threads, text, {}, status.st_dev);
        if (one.rootErrno != 0) {
            // Gone since it was measured, or closed to us: it stays in the export, unread.
            text = unwritten;
            ExportInfo unread = way;
            unread.readError = true;
            writer.item(leaf, unread);
            ++total.stats.unreadable;
            continue;
        }
        total.stats.bytes += one.stats.bytes;
        total.stats.files += one.stats.files;
        total.stats.dirs += one.stats.dirs;
        total.stats.unreadable += one.stats.unreadable;
        itemsBefore += one.stats.files + one.stats.dirs;
        bytesBefore += one.stats.bytes;
        if (one.writeErrno != 0) {
            total.writeErrno = one.writeErrno;
            return total;
        }
    }
    for (; !open.empty(); open.pop_back()) writer.endFolder();
    writer.endFolder();
    writer.footer();
    total.writeErrno = writeText(outFd, text);
    return total;
}

}  // namespace kelvane
