#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace kelvane {

class SizeStore;
class ThreadBudget;

// What one tree walk measured.
struct ScanStats {
    std::int64_t bytes = 0;       // allocated bytes of everything walked
    std::int64_t files = 0;       // non-folders, each hard-linked file once per walk
    std::int64_t dirs = 0;        // folders entered, the root included
    std::int64_t unreadable = 0;  // items that could not be listed or examined

    friend bool operator==(const ScanStats&, const ScanStats&) = default;
};

// How one walk may use the machine. The defaults suit every caller; tests narrow them.
struct ScanOptions {
    // Most threads walking this root at once, the calling thread included; 0 means as many as
    // the budget holds. Extra threads start only while the budget has shares to spare.
    int threads = 0;
    // Where the extra threads' shares come from; null means the process-wide budget.
    ThreadBudget* budget = nullptr;
    // Most folder descriptors one walking thread keeps open; deeper folders are closed and
    // opened again on the way back up. 0 means a number derived from the descriptor limit.
    int openFolders = 0;
    // Whether a mount point below the root counts with its own size (and as a folder). The
    // window counts it, as the file-tree walk it replaced did; `du -x` leaves it out entirely,
    // and so does kelvane-scan, whose totals must equal du's.
    bool countMountPoints = true;
};

// Measures folder trees by allocated size (st_blocks * 512).
namespace Scanner {

// The walk polls its callbacks once per this many visited items (a folder's entry and exit
// count as two), so the callbacks cost nothing per item.
inline constexpr std::int64_t kPollInterval = 4000;

// Receives the bytes counted so far in this walk.
using Progress = std::function<void(std::int64_t runningBytes)>;
// Returns true when the walk should stop; must be a cheap flag read.
using CancelTest = std::function<bool()>;

// Walks `root` without following symbolic links below it (a root that is itself a link is
// followed) and without leaving its file system (mount points below it count with their own
// size only). Every folder the walk finishes is recorded in `store` under the path the walk
// reached it by, which begins with `root` as given. Hard-linked files count once per call, in
// the folder where a depth-first walk in listing order meets them first. Empty callbacks mean
// "no progress reports" and "never cancelled".
//
// Several threads may walk one root; the results are the same as with one. The callbacks are
// called on the calling thread only, once for every kPollInterval visits of the whole walk, so
// a walk of N visits reports progress exactly N / kPollInterval times (unless cancelled). On
// cancellation every thread stops within one poll interval and the partial counts are returned;
// folders still open are not recorded, and `bytes` counts only a finished root (0 otherwise).
ScanStats scan(const std::string& root, SizeStore& store, const Progress& progress = {},
               const CancelTest& shouldCancel = {}, const ScanOptions& options = {});

}  // namespace Scanner
}  // namespace kelvane
