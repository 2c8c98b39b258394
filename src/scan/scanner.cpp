#include "scan/scanner.h"

#include <fts.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>
#include <numeric>
#include <unordered_set>
#include <vector>

#include "scan/size_store.h"

namespace kelvane::Scanner {
namespace {

// One file on disk, for counting hard-linked files once.
struct InodeKey {
    dev_t dev;
    ino_t ino;
    friend bool operator==(const InodeKey&, const InodeKey&) = default;
};

struct InodeKeyHash {
    std::size_t operator()(const InodeKey& key) const noexcept {
        // Inode numbers on one device are already well spread; folding the device in keeps keys
        // from different volumes apart in the unlikely case a walk meets them.
        return std::hash<std::uint64_t>{}(static_cast<std::uint64_t>(key.ino) ^
                                          (static_cast<std::uint64_t>(key.dev) << 40));
    }
};

struct FtsCloser {
    // Nothing useful can be done if closing fails: the walk's results are complete either way.
    void operator()(FTS* walk) const noexcept { (void)::fts_close(walk); }
};
using FtsHandle = std::unique_ptr<FTS, FtsCloser>;

// Follow the root when it is a link, never follow links below it, never chdir (so several
// walks can run on different threads of one process), and stay on the root's file system.
constexpr int kWalkOptions = FTS_COMFOLLOW | FTS_NOCHDIR | FTS_PHYSICAL | FTS_XDEV;

std::int64_t allocatedBytes(const struct stat* status) {
    return status == nullptr ? 0 : static_cast<std::int64_t>(status->st_blocks) * 512;
}

// The per-call state of one walk: a running total per open folder, innermost last.
class Walk {
  public:
    explicit Walk(SizeStore& store) : store_(store) {}

    void enterFolder(const FTSENT& entry) {
        ++stats_.dirs;
        open_.push_back(allocatedBytes(entry.fts_statp));
    }

    void leaveFolder(const FTSENT& entry) {
        std::int64_t folderBytes = 0;
        if (!open_.empty()) {
            folderBytes = open_.back();
            open_.pop_back();
        }
        store_.record(folderBytes, std::string(entry.fts_path, entry.fts_pathlen));
        addToInnermost(folderBytes);
    }

    void countItem(const FTSENT& entry) {
        const struct stat* const status = entry.fts_statp;
        if (status == nullptr) return;
        // Only multiply-linked files can have been seen already; ordinary files skip the set.
        if (status->st_nlink >= 2 &&
            !linked_.insert(InodeKey{status->st_dev, status->st_ino}).second) {
            return;
        }
        ++stats_.files;
        addToInnermost(allocatedBytes(status));
    }

    void countFailure(const FTSENT& entry) {
        ++stats_.unreadable;
        // A folder that was entered but could not be listed still owns the innermost total: it
        // is closed like a finished folder, so its own size reaches the store and its parent.
        if (static_cast<std::int64_t>(open_.size()) == entry.fts_level + 1) leaveFolder(entry);
    }

    void countBrokenWalk() { ++stats_.unreadable; }

    std::int64_t bytesSoFar() const { return std::accumulate(open_.begin(), open_.end(), total_); }

    ScanStats finish() {
        stats_.bytes = total_;
        return stats_;
    }

  private:
    void addToInnermost(std::int64_t bytes) {
        if (open_.empty()) {
            total_ += bytes;
        } else {
            open_.back() += bytes;
        }
    }

    SizeStore& store_;
    std::vector<std::int64_t> open_;
    std::int64_t total_ = 0;
    std::unordered_set<InodeKey, InodeKeyHash> linked_;
    ScanStats stats_;
};

}  // namespace

ScanStats scan(const std::string& root, SizeStore& store, const Progress& progress,
               const CancelTest& shouldCancel) {
    // fts_open wants a mutable argv; this copy lives until the walk is closed.
    std::string rootCopy = root;
    char* const roots[] = {rootCopy.data(), nullptr};
    const FtsHandle walk(::fts_open(roots, kWalkOptions, nullptr));
    if (!walk) return ScanStats{0, 0, 0, 1};

    Walk state(store);
    std::int64_t visits = 0;
    bool cancelled = false;
    for (;;) {
        errno = 0;
        const FTSENT* const entry = ::fts_read(walk.get());
        if (entry == nullptr) break;
        switch (entry->fts_info) {
            case FTS_D:
                state.enterFolder(*entry);
                break;
            case FTS_DP:
                state.leaveFolder(*entry);
                break;
            case FTS_F:
            case FTS_SL:
            case FTS_SLNONE:
            case FTS_DEFAULT:
                state.countItem(*entry);
                break;
            case FTS_DNR:
            case FTS_ERR:
            case FTS_NS:
                state.countFailure(*entry);
                break;
            default:  // FTS_DC (a folder closing a cycle) and kinds these options never produce
                break;
        }
        ++visits;
        if (visits % kPollInterval == 0) {
            if (shouldCancel && shouldCancel()) {
                cancelled = true;
                break;
            }
            if (progress) progress(state.bytesSoFar());
        }
    }
    // fts_read ends a complete walk with errno 0; anything else means it gave up part-way (out of
    // memory, say), and what it could not reach counts as unreadable.
    if (!cancelled && errno != 0) state.countBrokenWalk();
    return state.finish();
}

}  // namespace kelvane::Scanner
