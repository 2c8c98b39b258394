#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "scan/scanner.h"
#include "scan/thread_budget.h"

namespace kelvane::test {

// What the classic walk found: its counts, the size it would record for each folder, and how
// many items it visited (a folder's entry and exit count as two).
struct ReferenceScan {
    ScanStats stats;
    std::map<std::string, std::int64_t> sizes;
    std::int64_t visits = 0;
};

// Measures `root` with glibc's fts (physical, the root followed, one file system, no chdir),
// the way Kelvane measured before it had its own walker. Kept as the reference that walker
// must match item for item; it stops at PATH_MAX, so trees for it stay below that.
ReferenceScan ftsReferenceScan(const std::string& root);

// Four threads even on a one-core machine, so the parallel walk really runs in parallel.
inline ThreadBudget scanTestBudget(4);

// One thread; one thread that keeps only two folders open (so deeper folders are closed and
// found again); four threads, also keeping two open.
inline const ScanOptions kScanModes[] = {{1, nullptr, 0}, {1, nullptr, 2}, {4, &scanTestBudget, 2}};

// Expects Scanner::scan in each of those modes to agree with the reference on the counts, on
// every recorded folder and on the number of progress reports.
void expectSameAsReference(const std::string& root);

}  // namespace kelvane::test
