#include "core/category_history.h"

#include <algorithm>
#include <iterator>

namespace kelvane {
namespace {

void apply(CategoryHistory::State& state, const std::vector<CategoryHistory::Change>& changes) {
    for (const auto& c : changes) state[c.path] = c.bytes < 0 ? -1 : c.bytes;
}

}  // namespace

std::uint32_t CategoryHistory::intern(std::string_view path) {
    const auto at =
        std::lower_bound(byPath_.begin(), byPath_.end(), path,
                         [&](std::uint32_t n, std::string_view p) { return paths_[n] < p; });
    if (at != byPath_.end() && paths_[*at] == path) return *at;
    const auto number = static_cast<std::uint32_t>(paths_.size());
    paths_.emplace_back(path);
    byPath_.insert(at, number);
    return number;
}

std::optional<std::uint32_t> CategoryHistory::find(std::string_view path) const {
    const auto at =
        std::lower_bound(byPath_.begin(), byPath_.end(), path,
                         [&](std::uint32_t n, std::string_view p) { return paths_[n] < p; });
    if (at != byPath_.end() && paths_[*at] == path) return *at;
    return std::nullopt;
}

std::vector<CategoryHistory::State> CategoryHistory::statesAt(
    const std::vector<std::size_t>& indices) const {
    std::vector<State> states;
    states.reserve(indices.size());
    State state(paths_.size(), -1);
    for (std::size_t i = 0; i < steps_.size() && states.size() < indices.size(); ++i) {
        apply(state, steps_[i].changes);
        while (states.size() < indices.size() && indices[states.size()] == i) {
            states.push_back(state);
        }
    }
    return states;
}

Measurement CategoryHistory::measurement(std::size_t i) const {
    const State state = statesAt({i}).front();
    const Step& s = steps_[i];
    Measurement m{s.time, s.total, {}, s.deleted, s.cutoff};
    for (const std::uint32_t n : byPath_) {
        if (state[n] >= 0) m.folders.push_back({paths_[n], state[n]});
    }
    return m;
}

void CategoryHistory::append(const Measurement& m) {
    const State last =
        steps_.empty() ? State(paths_.size(), -1) : statesAt({steps_.size() - 1}).front();
    Step step{m.time, m.total, m.cutoff, m.deleted, {}};
    std::vector<bool> listed(paths_.size(), false);
    for (const auto& f : m.folders) {
        const std::uint32_t n = intern(f.path);
        if (n >= listed.size()) listed.resize(n + 1, false);
        listed[n] = true;
        if (n >= last.size() || last[n] != f.bytes) step.changes.push_back({n, f.bytes});
    }
    for (std::uint32_t n = 0; n < last.size(); ++n) {
        if (last[n] >= 0 && !listed[n]) step.changes.push_back({n, -1});
    }
    std::sort(step.changes.begin(), step.changes.end(),
              [](const Change& a, const Change& b) { return a.path < b.path; });
    std::sort(step.deleted.begin(), step.deleted.end(),
              [](const FolderSize& a, const FolderSize& b) { return a.path < b.path; });
    steps_.push_back(std::move(step));
}

void CategoryHistory::appendStep(Step step) {
    steps_.push_back(std::move(step));
}

void CategoryHistory::erase(std::size_t i) {
    Step& next = steps_[i + 1];
    Step& gone = steps_[i];
    if (i == 0) {
        // The next one becomes the first and must carry its whole list.
        State state(paths_.size(), -1);
        apply(state, gone.changes);
        apply(state, next.changes);
        next.changes.clear();
        for (std::uint32_t n = 0; n < state.size(); ++n) {
            if (state[n] >= 0) next.changes.push_back({n, state[n]});
        }
        next.deleted.clear();  // nothing is compared across the start of the history
    } else {
        std::vector<Change> merged;
        merged.reserve(gone.changes.size() + next.changes.size());
        auto a = gone.changes.begin();
        auto b = next.changes.begin();
        while (a != gone.changes.end() || b != next.changes.end()) {
            if (b == next.changes.end() || (a != gone.changes.end() && a->path < b->path)) {
                merged.push_back(*a++);
            } else {
                if (a != gone.changes.end() && a->path == b->path) ++a;
                merged.push_back(*b++);
            }
        }
        next.changes = std::move(merged);
        std::vector<FolderSize> deleted;
        std::merge(gone.deleted.begin(), gone.deleted.end(), next.deleted.begin(),
                   next.deleted.end(), std::back_inserter(deleted),
                   [](const FolderSize& x, const FolderSize& y) { return x.path < y.path; });
        next.deleted = std::move(deleted);
    }
    steps_.erase(steps_.begin() + static_cast<std::ptrdiff_t>(i));
}

bool operator==(const CategoryHistory& a, const CategoryHistory& b) {
    if (a.categoryID_ != b.categoryID_ || a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a.measurement(i) != b.measurement(i)) return false;
    }
    return true;
}

}  // namespace kelvane
