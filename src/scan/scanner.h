#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace kelvane {

class SizeStore;

// What one tree walk measured.
struct ScanStats {
    std::int64_t bytes = 0;       // allocated bytes of everything walked
    std::int64_t files = 0;       // non-folders, each hard-linked file once per walk
    std::int64_t dirs = 0;        // folders entered, the root included
    std::int64_t unreadable = 0;  // items that could not be listed or examined

    friend bool operator==(const ScanStats&, const ScanStats&) = default;
};

// Measures folder trees by allocated size (st_blocks * 512).
namespace Scanner {

// The walk polls its callbacks once per this many delivered entries (a folder's entry and exit
// count as two), so the callbacks cost nothing per item.
inline constexpr std::int64_t kPollInterval = 4000;

// Receives the bytes counted so far in this walk.
using Progress = std::function<void(std::int64_t runningBytes)>;
// Returns true when the walk should stop; must be a cheap flag read.
using CancelTest = std::function<bool()>;

// Walks `root` on the calling thread without following symbolic links below it (a root that is
// itself a link is followed) and without leaving its file system (mount points below it count
// with their own size only). Every folder the walk finishes is recorded in `store` under the path
// the walk reached it by, which begins with `root` as given. Hard-linked files count once per
// call. Empty callbacks mean "no progress reports" and "never cancelled". On cancellation the
// partial counts are returned and folders still open (the root among them) are not recorded.
ScanStats scan(const std::string& root, SizeStore& store, const Progress& progress = {},
               const CancelTest& shouldCancel = {});

}  // namespace Scanner
}  // namespace kelvane
