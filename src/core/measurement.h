#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kelvane {

// One folder's allocated bytes at the time of a measurement. The path is the file system's
// bytes, never re-encoded.
struct FolderSize {
    std::string path;
    std::int64_t bytes = 0;

    friend bool operator==(const FolderSize&, const FolderSize&) = default;
};

// What one finished measurement of a category leaves behind for later comparison.
struct Measurement {
    std::int64_t time = 0;   // seconds since the epoch
    std::int64_t total = 0;  // the category's total, as the window showed it
    // The sampled folders, sorted by the bytes of their paths.
    std::vector<FolderSize> folders;
    // What the user deleted through Kelvane inside the category since its previous measurement,
    // with the bytes each item held. Such bytes left by the user's choice, so the comparison
    // does not count them as shrinkage.
    std::vector<FolderSize> deleted;
    // 0 when `folders` holds every folder of the sample's depth; otherwise no folder left out
    // was larger than this. A folder missing from a cut list may still exist, smaller.
    std::int64_t cutoff = 0;

    friend bool operator==(const Measurement&, const Measurement&) = default;
};

}  // namespace kelvane
