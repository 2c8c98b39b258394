#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {

// The shared memory of measured folder sizes: absolute folder path -> allocated bytes below it.
// Scans, listings and deletions on different threads use one store at the same time; every
// operation takes the one lock for its whole duration and never calls another operation while
// holding it. Keys are kept exactly as recorded ("/a" and "/a/" are different keys).
class SizeStore {
  public:
    SizeStore() = default;
    SizeStore(const SizeStore&) = delete;
    SizeStore& operator=(const SizeStore&) = delete;

    // The value recorded for exactly this key, if any.
    std::optional<std::int64_t> size(const std::string& path) const;

    // Sets the value for `path`, replacing an earlier one (never adds up).
    void record(std::int64_t bytes, std::string path);

    // Removes `path` and every key below it ("/a/b" takes "/a/b/c" but not "/a/bc"); a path that
    // already ends in "/" only takes the keys below it. Returns the value `path` itself had.
    // Costs O(log n + k) for k removed keys.
    std::optional<std::int64_t> removeSubtree(const std::string& path);

    // Adds `delta` to every recorded ancestor of `path` up to and including "/", clamping each at
    // zero. Ancestors without a value are skipped (nothing is created); `path` itself is untouched.
    void adjust(const std::string& path, std::int64_t delta);

    // The recorded keys one level below `path` with their values, in byte order. Costs
    // O(c log n) for c children, however much is recorded deeper down.
    std::vector<std::pair<std::string, std::int64_t>> children(const std::string& path) const;

    // Number of recorded keys.
    std::size_t count() const;

  private:
    mutable std::mutex lock_;
    // Ordered so that all keys below a prefix form one contiguous range.
    std::map<std::string, std::int64_t, std::less<>> sizes_;
};

}  // namespace kelvane
