#include "system/deletion_progress.h"

#include <utility>

namespace kelvane {

DeletionProgress::DeletionProgress(std::size_t itemsTotal, Report report,
                                   std::chrono::steady_clock::duration interval)
    : report_(std::move(report)),
      interval_(interval),
      nextReport_(std::chrono::steady_clock::now() + interval) {
    counts_.itemsTotal = itemsTotal;
}

void DeletionProgress::removed(std::int64_t bytes) {
    ++counts_.filesRemoved;
    counts_.bytesFreed += bytes;
    reportIfDue();
}

void DeletionProgress::itemDone() {
    ++counts_.itemsDone;
    reportIfDue();
}

void DeletionProgress::reportIfDue() {
    if (!report_) return;
    const auto now = std::chrono::steady_clock::now();
    if (now < nextReport_) return;
    nextReport_ = now + interval_;
    report_(counts_);
}

}  // namespace kelvane
