#include "core/growth.h"

#include <algorithm>
#include <cstdlib>

#include "core/path_text.h"

namespace kelvane {
namespace {

std::int64_t spanOf(ComparisonPoint point) {
    return point == ComparisonPoint::weekAgo ? 7 * Growth::day : 30 * Growth::day;
}

std::optional<std::int64_t> present(std::int64_t bytes) {
    return bytes < 0 ? std::nullopt : std::optional(bytes);
}

auto byPath(std::vector<PlaceChange>& places, std::string_view path) {
    return std::lower_bound(places.begin(), places.end(), path,
                            [](const PlaceChange& p, std::string_view q) { return p.path < q; });
}

ChangeKind kindOf(const PlaceChange& p, bool beforeComplete, bool nowComplete) {
    // A folder missing from a list that was cut at the largest folders may only have become
    // smaller than the cut, so it neither appeared nor vanished: its change is a plain one.
    if (!p.before && p.now && beforeComplete) return ChangeKind::appeared;
    if (p.before && !p.now && nowComplete) return ChangeKind::vanished;
    const std::int64_t net = p.net();
    return net > 0 ? ChangeKind::grew : net < 0 ? ChangeKind::shrank : ChangeKind::unchanged;
}

// Every place either measurement knows, by path, with the deletions of the interval.
std::vector<PlaceChange> placesBetween(const CategoryHistory& history, std::size_t from,
                                       std::size_t to) {
    const auto states = history.statesAt({from, to});
    const auto& before = states[0];
    const auto& now = states[1];
    std::vector<PlaceChange> places;
    for (const std::uint32_t n : history.pathsInOrder()) {
        if (before[n] < 0 && now[n] < 0) continue;
        places.push_back({history.path(n), present(before[n]), present(now[n]), 0, {}});
    }
    for (std::size_t i = from + 1; i <= to; ++i) {
        for (const auto& d : history.step(i).deleted) {
            // The deleted item's bytes left it and every folder above it…
            for (std::string p = d.path;;) {
                const auto at = byPath(places, p);
                if (at != places.end() && at->path == p) at->deleted += d.bytes;
                std::string up = PathText::parent(p);
                if (up == p) break;
                p = std::move(up);
            }
            // …and a folder inside it lost all it held.
            const std::string inside = d.path.ends_with('/') ? d.path : d.path + "/";
            for (auto at = byPath(places, inside);
                 at != places.end() && at->path.starts_with(inside); ++at) {
                at->deleted += at->before.value_or(0);
            }
        }
    }
    const bool beforeComplete = history.step(from).cutoff == 0;
    const bool nowComplete = history.step(to).cutoff == 0;
    for (auto& p : places) p.kind = kindOf(p, beforeComplete, nowComplete);
    return places;
}

bool explains(std::int64_t child, std::int64_t parent) {
    return (child > 0) == (parent > 0) && 10 * std::llabs(child) >= 9 * std::llabs(parent);
}

}  // namespace

const PlaceChange* GrowthLookup::find(std::string_view path) const {
    const auto at =
        std::lower_bound(places_.begin(), places_.end(), path,
                         [](const PlaceChange& p, std::string_view q) { return p.path < q; });
    return at != places_.end() && at->path == path ? &*at : nullptr;
}

std::optional<std::int64_t> GrowthLookup::netChange(std::string_view path) const {
    const PlaceChange* p = find(path);
    return p ? std::optional(p->net()) : std::nullopt;
}

std::optional<std::size_t> Growth::pointIndex(const CategoryHistory& history, ComparisonPoint point,
                                              std::int64_t now,
                                              std::optional<std::int64_t> sessionStart) {
    if (history.size() < 2) return std::nullopt;
    const std::size_t last = history.size() - 1;
    if (point == ComparisonPoint::previous && !sessionStart) return last - 1;
    // Measurements of this session (a rescan, the re-measure after a deletion) are not "the
    // previous time": the one before them is.
    const std::int64_t target =
        point == ComparisonPoint::previous ? *sessionStart - 1 : now - spanOf(point);
    for (std::size_t i = last; i-- > 0;) {
        if (history.step(i).time <= target) return i;
    }
    return std::nullopt;
}

CategoryGrowth Growth::compare(const CategoryHistory& history, ComparisonPoint point,
                               std::int64_t now, std::optional<std::int64_t> sessionStart) {
    CategoryGrowth growth;
    growth.categoryID = history.categoryID();
    const auto from = pointIndex(history, point, now, sessionStart);
    if (!from) {
        if (history.empty()) return growth;
        const std::int64_t first = history.step(0).time + spanOf(point);
        if (point != ComparisonPoint::previous && first > now) {
            growth.possibleAt = first;
        } else {
            growth.afterNextMeasurement = true;
        }
        return growth;
    }
    const std::size_t to = history.size() - 1;
    growth.since = history.step(*from).time;
    growth.totalBefore = history.step(*from).total;
    growth.totalNow = history.step(to).total;
    for (std::size_t i = *from + 1; i <= to; ++i) {
        for (const auto& d : history.step(i).deleted) growth.totalDeleted += d.bytes;
    }
    auto places = placesBetween(history, *from, to);
    std::erase_if(places, [](const PlaceChange& p) { return p.net() == 0; });
    growth.folders = std::move(places);
    return growth;
}

GrowthLookup Growth::lookup(const CategoryHistory& history, ComparisonPoint point, std::int64_t now,
                            std::optional<std::int64_t> sessionStart) {
    const auto from = pointIndex(history, point, now, sessionStart);
    if (!from) return {};
    return GrowthLookup(placesBetween(history, *from, history.size() - 1));
}

std::vector<GrowthRow> Growth::card(const std::vector<CategoryGrowth>& categories,
                                    std::size_t limit) {
    // Candidates are ranked as (category, folder) numbers, and only the rows kept are built:
    // a month of change can touch most of 100,000 places.
    struct Candidate {
        std::int64_t size;
        std::size_t category;
        std::size_t folder;  // folders.size() for the total
    };
    std::vector<Candidate> candidates;
    for (std::size_t c = 0; c < categories.size(); ++c) {
        const auto& category = categories[c];
        if (!category.since) continue;
        const auto& folders = category.folders;
        const auto netOf = [&](std::size_t i) {
            return i == folders.size() ? category.netTotal() : folders[i].net();
        };
        // Which places a child explains; index folders.size() stands for the total. In byte
        // order the paths that begin with a given path follow it without a gap, so the earlier
        // paths each one begins with form a stack, and its nearest parent is on it.
        std::vector<bool> explained(folders.size() + 1, false);
        std::vector<std::size_t> prefixes;
        for (std::size_t i = 0; i < folders.size(); ++i) {
            const std::string_view path = folders[i].path;
            while (!prefixes.empty() && !path.starts_with(folders[prefixes.back()].path)) {
                prefixes.pop_back();
            }
            std::size_t parent = folders.size();
            for (auto p = prefixes.rbegin(); p != prefixes.rend(); ++p) {
                const std::string_view above = folders[*p].path;
                if (above.ends_with('/') || path[above.size()] == '/') {
                    parent = *p;
                    break;
                }
            }
            prefixes.push_back(i);
            if (explains(folders[i].net(), netOf(parent))) explained[parent] = true;
        }
        for (std::size_t i = 0; i <= folders.size(); ++i) {
            if (!explained[i] && netOf(i) != 0) candidates.push_back({std::llabs(netOf(i)), c, i});
        }
    }
    const auto pathOf = [&](const Candidate& x) -> std::string_view {
        const auto& folders = categories[x.category].folders;
        return x.folder == folders.size() ? std::string_view() : folders[x.folder].path;
    };
    const auto order = [&](const Candidate& a, const Candidate& b) {
        if (a.size != b.size) return a.size > b.size;
        const auto& x = categories[a.category].categoryID;
        const auto& y = categories[b.category].categoryID;
        if (x != y) return x < y;
        return pathOf(a) < pathOf(b);
    };
    const std::size_t kept = std::min(limit, candidates.size());
    std::partial_sort(candidates.begin(), candidates.begin() + static_cast<std::ptrdiff_t>(kept),
                      candidates.end(), order);
    std::vector<GrowthRow> rows;
    for (std::size_t k = 0; k < kept; ++k) {
        const auto& x = candidates[k];
        const auto& category = categories[x.category];
        if (x.folder < category.folders.size()) {
            const auto& f = category.folders[x.folder];
            rows.push_back({category.categoryID, f.path, f});
        } else {
            const ChangeKind kind = category.netTotal() > 0 ? ChangeKind::grew : ChangeKind::shrank;
            rows.push_back(
                {category.categoryID,
                 {},
                 {{}, category.totalBefore, category.totalNow, category.totalDeleted, kind}});
        }
    }
    return rows;
}

}  // namespace kelvane
