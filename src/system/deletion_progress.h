#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace kelvane {

// How far a deletion has come.
struct DeletionCounts {
    std::size_t itemsDone = 0;  // selected items finished, deleted or not
    std::size_t itemsTotal = 0;
    std::uint64_t filesRemoved = 0;  // everything removed inside the items, folders too
    std::int64_t bytesFreed = 0;     // allocated bytes that left the disk (a file's last link)
    friend bool operator==(const DeletionCounts&, const DeletionCounts&) = default;
};

// Shared by a deletion's worker and whoever watches it. The worker counts as
// it goes and hands a copy of the counts to `report` from its own thread, at
// most once per interval, so watching costs the worker a clock read per
// file and nothing else. Anyone may ask the worker to stop; it looks before
// each file it removes, so it never stops in the middle of one.
class DeletionProgress {
  public:
    using Report = std::function<void(const DeletionCounts&)>;

    DeletionProgress(std::size_t itemsTotal, Report report,
                     std::chrono::steady_clock::duration interval = std::chrono::milliseconds(100));

    // --- the worker's thread ---
    // One file, link or folder removed; `bytes` is what that freed.
    void removed(std::int64_t bytes);
    // One selected item finished.
    void itemDone();
    const DeletionCounts& counts() const { return counts_; }

    // --- any thread ---
    void requestStop() { stop_.store(true, std::memory_order_relaxed); }
    bool stopRequested() const { return stop_.load(std::memory_order_relaxed); }

  private:
    void reportIfDue();

    DeletionCounts counts_;
    Report report_;
    std::chrono::steady_clock::duration interval_;
    std::chrono::steady_clock::time_point nextReport_;
    std::atomic<bool> stop_{false};
};

}  // namespace kelvane
