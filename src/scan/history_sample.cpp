#include "scan/history_sample.h"

#include <algorithm>

namespace kelvane {
namespace {

std::string withoutTrailingSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

void addChildren(const SizeStore& store, const std::string& folder, std::vector<FolderSize>& into,
                 int levels) {
    for (auto& [path, bytes] : store.children(folder)) {
        if (levels > 1) addChildren(store, path, into, levels - 1);
        into.push_back({std::move(path), bytes});
    }
}

}  // namespace

HistorySample::Sample HistorySample::take(const SizeStore& store,
                                          const std::vector<std::string>& roots,
                                          std::size_t limit) {
    Sample sample;
    auto& folders = sample.folders;
    for (const auto& given : roots) {
        const std::string root = withoutTrailingSlash(given);
        const auto size = store.size(root);
        if (!size) continue;  // missing, a file, or not measured
        folders.push_back({root, *size});
        addChildren(store, root, folders, 2);
    }
    std::sort(folders.begin(), folders.end(),
              [](const FolderSize& a, const FolderSize& b) { return a.path < b.path; });
    folders.erase(
        std::unique(folders.begin(), folders.end(),
                    [](const FolderSize& a, const FolderSize& b) { return a.path == b.path; }),
        folders.end());
    if (folders.size() > limit) {
        const auto larger = [](const FolderSize& a, const FolderSize& b) {
            return a.bytes != b.bytes ? a.bytes > b.bytes : a.path < b.path;
        };
        std::nth_element(folders.begin(), folders.begin() + static_cast<std::ptrdiff_t>(limit),
                         folders.end(), larger);
        for (auto f = folders.begin() + static_cast<std::ptrdiff_t>(limit); f != folders.end();
             ++f) {
            sample.cutoff = std::max(sample.cutoff, f->bytes);
        }
        // A cut at folders of 0 bytes would still read as complete.
        sample.cutoff = std::max<std::int64_t>(sample.cutoff, 1);
        folders.resize(limit);
        std::sort(folders.begin(), folders.end(),
                  [](const FolderSize& a, const FolderSize& b) { return a.path < b.path; });
    }
    return sample;
}

}  // namespace kelvane
