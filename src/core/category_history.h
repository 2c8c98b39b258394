#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/measurement.h"

namespace kelvane {

// The measurements of one category, oldest first.
//
// Each measurement is held as the changes it made to the folder list of the one before (the
// first as its whole list), with every path stored once and named by a number. Between two
// launches only a few of a category's 2,000 folders change, so three months of measurements of
// fifty categories take a few megabytes instead of gigabytes, and replaying them to compare two
// points costs one pass over the changes.
class CategoryHistory {
  public:
    // A folder's new size in a measurement; `bytes` < 0 when it is no longer in the list.
    struct Change {
        std::uint32_t path = 0;
        std::int64_t bytes = 0;
        friend bool operator==(const Change&, const Change&) = default;
    };
    // One measurement as held: its figures and what changed against the one before.
    struct Step {
        std::int64_t time = 0;
        std::int64_t total = 0;
        std::int64_t cutoff = 0;
        std::vector<FolderSize> deleted;
        std::vector<Change> changes;  // by path number, each number once
    };
    // Bytes of every path number at one measurement; absent folders hold -1.
    using State = std::vector<std::int64_t>;

    CategoryHistory() = default;
    explicit CategoryHistory(std::string categoryID) : categoryID_(std::move(categoryID)) {}

    const std::string& categoryID() const { return categoryID_; }
    std::size_t size() const { return steps_.size(); }
    bool empty() const { return steps_.empty(); }
    const Step& step(std::size_t i) const { return steps_[i]; }

    // Measurement `i` with its whole folder list.
    Measurement measurement(std::size_t i) const;
    // Adds a measurement after the last one; its folders must be sorted and distinct.
    void append(const Measurement& m);
    // Adds a measurement given as changes against the last one (as the file holds it).
    void appendStep(Step step);
    // Forgets measurement `i`, which must not be the last. The next one keeps its folder list
    // and takes over its deletions, which now happened since the measurement before `i`.
    void erase(std::size_t i);

    // The folder sizes at each of `indices` (ascending), in one pass over the changes.
    std::vector<State> statesAt(const std::vector<std::size_t>& indices) const;

    // Path numbers, given out in the order paths first appear and never reused.
    std::size_t pathCount() const { return paths_.size(); }
    const std::string& path(std::uint32_t number) const { return paths_[number]; }
    std::uint32_t intern(std::string_view path);
    std::optional<std::uint32_t> find(std::string_view path) const;
    // Every path number, sorted by the bytes of its path.
    const std::vector<std::uint32_t>& pathsInOrder() const { return byPath_; }

    friend bool operator==(const CategoryHistory& a, const CategoryHistory& b);

  private:
    std::string categoryID_;
    std::vector<Step> steps_;
    std::vector<std::string> paths_;
    std::vector<std::uint32_t> byPath_;
};

}  // namespace kelvane
