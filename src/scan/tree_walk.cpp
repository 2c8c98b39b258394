#include "scan/tree_walk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

#include "core/unique_fd.h"
#include "scan/folder_stream.h"
#include "scan/link_owners.h"
#include "scan/same_mount_folder.h"
#include "scan/size_store.h"
#include "scan/thread_budget.h"
#include "scan/walk_folder.h"

namespace kelvane {
namespace {

// Each thread adds its visits to the shared count in batches of at most this many, so the
// threads do not fight over one counter per item. The calling thread ends a batch early where a
// poll falls due, so its polls come at the same visits as if it counted each one.
constexpr std::int64_t kVisitBatch = 64;

// Listing buffers a thread keeps from finished folders: leaving a chain of folders and
// entering the next one needs a few, and each is 32 KiB.
constexpr std::size_t kSpareBuffers = 4;

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

std::int64_t allocatedBytes(const struct stat& status) {
    return static_cast<std::int64_t>(status.st_blocks) * 512;
}

// A sixty-fourth of the descriptor limit per walking thread, so several walks of several
// threads stay far below it and leave the rest of the program its descriptors.
int defaultOpenFolders() {
    struct rlimit limit {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return 16;
    return static_cast<int>(std::clamp<rlim_t>(limit.rlim_cur / 64, 4, 32));
}

bool sameFolder(int fd, const WalkFolder& folder) {
    struct stat status {};
    return ::fstat(fd, &status) == 0 && status.st_dev == folder.dev && status.st_ino == folder.ino;
}

// One folder being listed: where its names stand, and what it has counted straight into itself.
struct Frame {
    std::shared_ptr<WalkFolder> folder;
    FolderStream stream;
    std::uint32_t nextIndex = 0;
    std::int64_t listedBytes = 0;
};

class Walker;

// What every thread of one walk shares, and what the calling thread alone does: the callbacks,
// the extra threads and the end of the walk.
class Walk {
  public:
    Walk(const std::string& root, const struct stat& rootStatus, SizeStore& store,
         const Scanner::Progress& progress, const Scanner::CancelTest& shouldCancel,
         const ScanOptions& options)
        : root_(root),
          rootDev_(rootStatus.st_dev),
          store_(store),
          progress_(progress),
          shouldCancel_(shouldCancel),
          budget_(options.budget != nullptr ? *options.budget : ThreadBudget::process()),
          wantedThreads_(options.threads > 0 ? options.threads : budget_.size()),
          openFolders_(
              std::max(2, options.openFolders > 0 ? options.openFolders : defaultOpenFolders())),
          countMountPoints_(options.countMountPoints) {}

    // Should the walk end early (out of memory, say), the extra threads stop before they are
    // joined, rather than wait for work forever.
    ~Walk() { stop(); }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    ScanStats run(const struct stat& rootStatus);

  private:
    friend class Walker;

    struct Helper {
        ThreadBudget::Share share;
        std::jthread thread;  // declared last, so it is joined before the share goes back
    };

    // Calling thread only.
    void poll();
    void addHelpers();
    bool pollDue() const {
        return visits_.load(std::memory_order_relaxed) >=
               (polls_.load(std::memory_order_relaxed) + 1) * Scanner::kPollInterval;
    }

    // Any thread.
    void stop();
    void finishFolder(std::shared_ptr<WalkFolder> folder);
    void addVisits(std::int64_t visits, std::int64_t bytes);
    void keepPace();
    UniqueFd findFromRoot(const WalkFolder& target) const;
    bool offer(Frame& frame);
    std::optional<Frame> take(bool caller);
    void merge(const ScanStats& counts);

    const std::string& root_;
    const dev_t rootDev_;
    SizeStore& store_;
    const Scanner::Progress& progress_;
    const Scanner::CancelTest& shouldCancel_;
    ThreadBudget& budget_;
    const int wantedThreads_;
    const int openFolders_;
    const bool countMountPoints_;

    LinkOwners links_;
    UniqueFd rootFd_;  // a spare descriptor of the root, to find a folder again from the top
    // The root's file system ends each folder with a short read. Every folder walked is on it:
    // other mounts are never entered.
    bool fillsEachRead_ = false;
    std::shared_ptr<WalkFolder> rootFolder_;

    std::atomic<std::int64_t> visits_{0};
    std::atomic<std::int64_t> countedBytes_{0};
    std::atomic<bool> stopping_{false};
    std::atomic<int> wanting_{0};  // threads waiting for work, less the work already offered

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Frame> offered_;
    std::atomic<bool> finished_{false};  // the root folder is final
    std::int64_t rootTotal_ = 0;
    std::vector<std::shared_ptr<WalkFolder>> heldBack_;  // final but for hard-linked files
    ScanStats counts_;

    std::atomic<std::int64_t> polls_{0};  // changed by the calling thread only
    // Calling thread only.
    bool helpersTried_ = false;
    std::vector<Helper> helpers_;
};

// One thread's part of a walk: a depth-first walk over its own stack of folders, of which only
// the innermost few keep a descriptor.
class Walker {
  public:
    Walker(Walk& walk, bool caller) : walk_(walk), caller_(caller) {}
    Walker(const Walker&) = delete;
    Walker& operator=(const Walker&) = delete;

    void countRoot(std::int64_t ownBytes) {
        ++counts_.dirs;
        visit(ownBytes);
    }
    void countUnreadableRoot() {
        ++counts_.unreadable;
        visit(0);
    }
    void start(Frame root) { stack_.push_back(std::move(root)); }
    // Walks until the walk is finished or stopped, then reports what this thread counted.
    void run();
    void report();

  private:
    void step();
    void enter(const FolderItem& item, std::uint32_t index, const struct stat& status,
               UniqueFd opened);
    void count(std::uint32_t index, const struct stat& status);
    void closeUnlisted(std::shared_ptr<WalkFolder> folder);
    void finishListing();
    void push(Frame frame);
    bool parkOutermost();
    UniqueFd openChild(int dirFd, const char* name);
    void reopenTop(const Frame& below);
    void visit(std::int64_t bytes);
    void flush();

    Walk& walk_;
    const bool caller_;
    std::vector<Frame> stack_;
    std::size_t firstOpen_ = 0;  // frames below this index are parked
    ScanStats counts_;
    std::int64_t unflushedVisits_ = 0;
    std::int64_t unflushedBytes_ = 0;
    std::int64_t batch_ = 1;  // visits kept before adding them to the shared count
    std::vector<FolderStream::Buffer> spareBuffers_;  // of folders finished, for the next ones
};

void Walker::run() {
    for (;;) {
        if (walk_.stopping_.load(std::memory_order_relaxed)) break;
        if (stack_.empty()) {
            flush();
            std::optional<Frame> work = walk_.take(caller_);
            if (!work) break;
            stack_.push_back(std::move(*work));
            firstOpen_ = 0;
            continue;
        }
        step();
    }
    // Innermost first, so each folder released still has its parent held by the next frame.
    while (!stack_.empty()) stack_.pop_back();
    report();
}

void Walker::report() {
    flush();
    walk_.merge(counts_);
    counts_ = ScanStats{};
}

void Walker::step() {
    Frame& top = stack_.back();
    FolderItem item;
    switch (top.stream.next(item)) {
        case FolderStream::Step::end:
            finishListing();
            return;
        case FolderStream::Step::failed:
            // Cut short: counted like a folder that could not be listed, with what it had.
            ++counts_.unreadable;
            finishListing();
            return;
        case FolderStream::Step::item:
            break;
    }
    const std::uint32_t index = top.nextIndex++;
    struct stat status;  // read only once a call has filled it; clearing it costs per item
    // A folder the listing names as one is opened first and examined through its descriptor:
    // its name is looked up once instead of twice, a tenth of all lookups in a typical tree.
    // Whatever the open refuses (a mount point, a name swapped for a link or a file, no right
    // to list it) is examined by name below, exactly as any other item.
    if (item.type == DT_DIR) {
        UniqueFd fd = openFolderOnSameMount(top.stream.fd(), item.name);
        if (fd.valid() && ::fstat(fd.get(), &status) == 0 && S_ISDIR(status.st_mode)) {
            enter(item, index, status, std::move(fd));
            return;
        }
    }
    if (::fstatat(top.stream.fd(), item.name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        ++counts_.unreadable;
        visit(0);
        return;
    }
    if (S_ISDIR(status.st_mode)) {
        enter(item, index, status, UniqueFd());
    } else {
        count(index, status);
    }
}

// `opened` is the folder's descriptor when it was opened before being examined.
void Walker::enter(const FolderItem& item, std::uint32_t index, const struct stat& status,
                   UniqueFd opened) {
    const std::shared_ptr<WalkFolder>& parent = stack_.back().folder;
    const bool byName = !opened.valid();
    // A folder that is also one of its own ancestors (a bind mount of an ancestor below it) would
    // be walked forever; it is visited once and counts nothing.
    if ((byName || parent->mayCloseCycle) && parent->isSelfOrAbove(status.st_dev, status.st_ino)) {
        visit(0);
        return;
    }
    if (!walk_.countMountPoints_ && status.st_dev != walk_.rootDev_) {
        visit(0);
        return;
    }
    ++counts_.dirs;
    const std::int64_t own = allocatedBytes(status);
    visit(own);
    if (walk_.stopping_.load(std::memory_order_relaxed)) return;
    const std::string_view name = item.view();
    auto folder =
        std::make_shared<WalkFolder>(parent, std::string(name), index, status.st_dev, status.st_ino,
                                     own, walk_.store_.place(parent->slot, name), byName);
    parent->pending.fetch_add(1, std::memory_order_relaxed);
    // A mount point counts with its own size and is not entered.
    if (status.st_dev != walk_.rootDev_) return closeUnlisted(std::move(folder));
    UniqueFd fd =
        opened.valid() ? std::move(opened) : openChild(stack_.back().stream.fd(), item.name);
    if (!fd.valid()) {
        ++counts_.unreadable;
        return closeUnlisted(std::move(folder));
    }
    FolderStream::Buffer buffer;
    if (!spareBuffers_.empty()) {
        buffer = std::move(spareBuffers_.back());
        spareBuffers_.pop_back();
    }
    push(Frame{std::move(folder),
               FolderStream(std::move(fd), walk_.fillsEachRead_, std::move(buffer))});
}

void Walker::count(std::uint32_t index, const struct stat& status) {
    const std::int64_t bytes = allocatedBytes(status);
    // Only files with several names can have been met already; the rest skip the shared set.
    if (status.st_nlink >= 2) {
        // Until a second thread starts, the calling thread meets every name in walk order.
        const bool inWalkOrder = caller_ && walk_.helpers_.empty();
        if (!walk_.links_.meet(status.st_dev, status.st_ino, bytes, stack_.back().folder, index,
                               inWalkOrder)) {
            visit(0);
            return;
        }
    } else {
        stack_.back().listedBytes += bytes;
    }
    ++counts_.files;
    visit(bytes);
}

void Walker::closeUnlisted(std::shared_ptr<WalkFolder> folder) {
    if (folder->pending.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        walk_.finishFolder(std::move(folder));
    }
    visit(0);
}

void Walker::finishListing() {
    Frame done = std::move(stack_.back());
    stack_.pop_back();
    if (spareBuffers_.size() < kSpareBuffers) {
        if (FolderStream::Buffer buffer = done.stream.takeBuffer()) {
            spareBuffers_.push_back(std::move(buffer));
        }
    }
    done.folder->total.fetch_add(done.listedBytes, std::memory_order_relaxed);
    if (firstOpen_ > stack_.size()) firstOpen_ = stack_.size();
    if (!stack_.empty() && stack_.back().stream.parked()) reopenTop(done);
    std::shared_ptr<WalkFolder> folder = std::move(done.folder);
    if (folder->pending.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        walk_.finishFolder(std::move(folder));
    }
    visit(0);
}

void Walker::push(Frame frame) {
    stack_.push_back(std::move(frame));
    while (stack_.size() - firstOpen_ > static_cast<std::size_t>(walk_.openFolders_)) {
        parkOutermost();
    }
    if (caller_ && !walk_.helpersTried_) walk_.addHelpers();
    // Another thread is idle: give it the outermost open folder, whose remaining names are
    // likely the most work, and go on below.
    if (walk_.wanting_.load(std::memory_order_relaxed) > 0 && firstOpen_ + 1 < stack_.size() &&
        walk_.offer(stack_[firstOpen_])) {
        stack_.erase(stack_.begin() + static_cast<std::ptrdiff_t>(firstOpen_));
    }
}

bool Walker::parkOutermost() {
    if (firstOpen_ + 1 >= stack_.size()) return false;  // the innermost folder stays open
    stack_[firstOpen_].stream.park();
    ++firstOpen_;
    return true;
}

UniqueFd Walker::openChild(int dirFd, const char* name) {
    for (;;) {
        const int fd = ::openat(dirFd, name, kFolderFlags | O_NOFOLLOW);
        if (fd >= 0) return UniqueFd(fd);
        // Out of descriptors: close one of ours and try again, as long as there is one to close.
        if ((errno != EMFILE && errno != ENFILE) || !parkOutermost()) return {};
    }
}

// Opens the parked folder on top of the stack again and puts its stream back where it was.
// `below` is the folder just finished, somewhere below it and still open: going up through ".."
// costs one call per level, checked against the identity each folder had; when that fails (no
// search right, the tree moved) the names are followed down from the root instead.
void Walker::reopenTop(const Frame& below) {
    Frame& target = stack_.back();
    UniqueFd fd;
    int from = below.stream.fd();
    for (const WalkFolder* f = below.folder.get(); from >= 0 && f != target.folder.get();) {
        const WalkFolder* const up = f->parent.get();
        UniqueFd next(up == nullptr ? -1 : ::openat(from, "..", kFolderFlags));
        if (!next.valid() || !sameFolder(next.get(), *up)) {
            fd.reset();
            break;
        }
        fd = std::move(next);
        from = fd.get();
        f = up;
    }
    if (!fd.valid()) fd = walk_.findFromRoot(*target.folder);
    if (!target.stream.resume(std::move(fd))) ++counts_.unreadable;
    firstOpen_ = stack_.size() - 1;
}

void Walker::visit(std::int64_t bytes) {
    ++unflushedVisits_;
    unflushedBytes_ += bytes;
    if (unflushedVisits_ >= batch_) flush();
}

void Walker::flush() {
    if (unflushedVisits_ > 0) {
        walk_.addVisits(unflushedVisits_, unflushedBytes_);
        unflushedVisits_ = 0;
        unflushedBytes_ = 0;
    }
    if (!caller_) return walk_.keepPace();
    if (walk_.pollDue()) walk_.poll();
    // Up to the next poll, as far as the count shows now; extra threads may bring it closer,
    // which delays that poll by less than one batch.
    const std::int64_t toPoll =
        (walk_.polls_.load(std::memory_order_relaxed) + 1) * Scanner::kPollInterval -
        walk_.visits_.load(std::memory_order_relaxed);
    batch_ = std::clamp<std::int64_t>(toPoll, 1, kVisitBatch);
}

ScanStats Walk::run(const struct stat& rootStatus) {
    // The calling thread walks whether or not a share is left; holding one when it can keeps
    // other walks from starting threads for the processor it uses.
    const std::optional<ThreadBudget::Share> own = budget_.tryTake();
    Walker caller(*this, true);
    const std::int64_t rootBytes = allocatedBytes(rootStatus);
    caller.countRoot(rootBytes);
    UniqueFd fd(::open(root_.c_str(), kFolderFlags));
    if (!fd.valid()) {
        // Entered but not listable: it keeps its own size.
        store_.record(rootBytes, root_);
        caller.countUnreadableRoot();
        caller.report();
        counts_.bytes = rootBytes;
        return counts_;
    }
    rootFd_ = UniqueFd(::fcntl(fd.get(), F_DUPFD_CLOEXEC, 0));
    rootFolder_ = std::make_shared<WalkFolder>(nullptr, std::string(), 0, rootStatus.st_dev,
                                               rootStatus.st_ino, rootBytes, store_.place(root_));
    fillsEachRead_ = FolderStream::fillsEachRead(fd.get());
    caller.start(Frame{rootFolder_, FolderStream(std::move(fd), fillsEachRead_)});
    caller.run();
    helpers_.clear();  // joins them; each has added its visits and counts
    // Every visit is in the count now: the polls the threads' visits still owe are made here,
    // so the number of progress reports depends on the tree alone.
    poll();

    links_.settle();
    for (const std::shared_ptr<WalkFolder>& folder : heldBack_) {
        store_.record(folder->total.load(std::memory_order_relaxed) + folder->linkedBytes,
                      std::move(folder->slot));
    }
    if (finished_.load(std::memory_order_relaxed))
        counts_.bytes = rootTotal_ + rootFolder_->linkedBytes;
    // Children were held back before their parents: releasing in that order never leaves a
    // folder as the last holder of a long chain.
    for (std::shared_ptr<WalkFolder>& folder : heldBack_) folder.reset();
    return counts_;
}

void Walk::poll() {
    while (!stopping_.load(std::memory_order_relaxed) && pollDue()) {
        polls_.fetch_add(1, std::memory_order_relaxed);
        if (shouldCancel_ && shouldCancel_()) {
            stop();
            return;
        }
        if (progress_) progress_(countedBytes_.load(std::memory_order_relaxed));
        { const std::lock_guard guard(mutex_); }
        wake_.notify_all();  // threads held back by keepPace() may go on
        addHelpers();
    }
}

void Walk::addHelpers() {
    helpersTried_ = true;
    if (finished_.load(std::memory_order_relaxed) || stopping_.load(std::memory_order_relaxed)) {
        return;
    }
    while (static_cast<int>(helpers_.size()) + 1 < wantedThreads_) {
        std::optional<ThreadBudget::Share> share = budget_.tryTake();
        if (!share) return;
        try {
            helpers_.push_back(Helper{std::move(*share), std::jthread([this] {
                                          Walker helper(*this, false);
                                          helper.run();
                                      })});
        } catch (const std::system_error&) {
            return;  // no thread to be had: the threads already walking finish the job
        }
    }
}

void Walk::stop() {
    stopping_.store(true, std::memory_order_relaxed);
    { const std::lock_guard guard(mutex_); }
    wake_.notify_all();
}

void Walk::finishFolder(std::shared_ptr<WalkFolder> folder) {
    for (;;) {
        const std::int64_t total = folder->total.load(std::memory_order_relaxed);
        const bool holdsLinks = folder->holdsLinks.load(std::memory_order_relaxed);
        if (holdsLinks) {
            const std::lock_guard guard(mutex_);
            heldBack_.push_back(folder);
        } else {
            store_.record(total, std::move(folder->slot));
        }
        std::shared_ptr<WalkFolder> up = folder->parent;
        if (!up) {
            {
                const std::lock_guard guard(mutex_);
                finished_.store(true, std::memory_order_relaxed);
                rootTotal_ = total;
            }
            wake_.notify_all();
            return;
        }
        up->total.fetch_add(total, std::memory_order_relaxed);
        if (holdsLinks) up->holdsLinks.store(true, std::memory_order_relaxed);
        folder.reset();
        if (up->pending.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
        folder = std::move(up);
    }
}

void Walk::addVisits(std::int64_t visits, std::int64_t bytes) {
    countedBytes_.fetch_add(bytes, std::memory_order_relaxed);
    const std::int64_t before = visits_.fetch_add(visits, std::memory_order_relaxed);
    if ((before + visits) / Scanner::kPollInterval == before / Scanner::kPollInterval) return;
    // A poll is due: the calling thread may be waiting for work and must wake to make it.
    { const std::lock_guard guard(mutex_); }
    wake_.notify_all();
}

// The extra threads never run more than half a poll interval ahead of a poll the calling
// thread still owes (it may be busy in a slow call, or not scheduled): a cancellation seen at
// that poll then stops the whole walk within the interval.
void Walk::keepPace() {
    const auto behind = [this] {
        return visits_.load(std::memory_order_relaxed) >=
               (polls_.load(std::memory_order_relaxed) + 1) * Scanner::kPollInterval +
                   Scanner::kPollInterval / 2;
    };
    if (!behind()) return;
    std::unique_lock lock(mutex_);
    wake_.wait(lock, [&] {
        return !behind() || stopping_.load(std::memory_order_relaxed) ||
               finished_.load(std::memory_order_relaxed);
    });
}

UniqueFd Walk::findFromRoot(const WalkFolder& target) const {
    std::vector<const WalkFolder*> chain;
    for (const WalkFolder* f = &target; f->parent; f = f->parent.get()) chain.push_back(f);
    UniqueFd fd(rootFd_.valid() ? ::openat(rootFd_.get(), ".", kFolderFlags) : -1);
    for (auto it = chain.rbegin(); fd.valid() && it != chain.rend(); ++it) {
        UniqueFd next(::openat(fd.get(), (*it)->name.c_str(), kFolderFlags | O_NOFOLLOW));
        if (next.valid() && !sameFolder(next.get(), **it)) next.reset();
        fd = std::move(next);
    }
    return fd;
}

bool Walk::offer(Frame& frame) {
    {
        const std::lock_guard guard(mutex_);
        if (wanting_.load(std::memory_order_relaxed) == 0) return false;
        wanting_.fetch_sub(1, std::memory_order_relaxed);
        offered_.push_back(std::move(frame));
    }
    wake_.notify_all();
    return true;
}

std::optional<Frame> Walk::take(bool caller) {
    std::unique_lock lock(mutex_);
    // Counted as wanting until it leaves: a thread that takes work offered to another keeps
    // that other one's want counted, so it gets the next offer.
    wanting_.fetch_add(1, std::memory_order_relaxed);
    for (;;) {
        if (!offered_.empty()) {
            Frame frame = std::move(offered_.front());
            offered_.pop_front();
            return frame;
        }
        if (finished_.load(std::memory_order_relaxed) ||
            stopping_.load(std::memory_order_relaxed)) {
            wanting_.fetch_sub(1, std::memory_order_relaxed);
            return std::nullopt;
        }
        if (caller && pollDue()) {
            lock.unlock();
            poll();
            lock.lock();
            continue;
        }
        wake_.wait(lock);
    }
}

void Walk::merge(const ScanStats& counts) {
    const std::lock_guard guard(mutex_);
    counts_.files += counts.files;
    counts_.dirs += counts.dirs;
    counts_.unreadable += counts.unreadable;
}

}  // namespace

ScanStats walkFolderTree(const std::string& root, const struct stat& rootStatus, SizeStore& store,
                         const Scanner::Progress& progress, const Scanner::CancelTest& shouldCancel,
                         const ScanOptions& options) {
    return Walk(root, rootStatus, store, progress, shouldCancel, options).run(rootStatus);
}

}  // namespace kelvane
