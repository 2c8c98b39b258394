#include "scan/size_store.h"

#include <algorithm>

#include "core/path_text.h"

namespace kelvane {

std::optional<std::int64_t> SizeStore::size(const std::string& path) const {
    const std::lock_guard guard(lock_);
    const auto it = sizes_.find(path);
    if (it == sizes_.end()) return std::nullopt;
    return it->second;
}

void SizeStore::record(std::int64_t bytes, std::string path) {
    const std::lock_guard guard(lock_);
    sizes_.insert_or_assign(std::move(path), bytes);
}

std::optional<std::int64_t> SizeStore::removeSubtree(const std::string& path) {
    const std::lock_guard guard(lock_);
    std::optional<std::int64_t> own;
    if (const auto it = sizes_.find(path); it != sizes_.end()) {
        own = it->second;
        sizes_.erase(it);
    }
    // Every key that starts with the prefix sorts at or after the prefix itself and before the
    // first key that does not, so the descendants are one contiguous run.
    const std::string prefix = (!path.empty() && path.back() == '/') ? path : path + '/';
    const auto first = sizes_.lower_bound(prefix);
    auto last = first;
    while (last != sizes_.end() && last->first.starts_with(prefix)) ++last;
    sizes_.erase(first, last);
    return own;
}

void SizeStore::adjust(const std::string& path, std::int64_t delta) {
    const std::lock_guard guard(lock_);
    std::string p = PathText::parent(path);
    while (!p.empty()) {
        if (const auto it = sizes_.find(p); it != sizes_.end()) {
            it->second = std::max<std::int64_t>(0, it->second + delta);
        }
        if (p == "/") break;
        p = PathText::parent(p);
    }
}

std::vector<std::pair<std::string, std::int64_t>> SizeStore::children(
    const std::string& path) const {
    const std::lock_guard guard(lock_);
    const std::string prefix = (!path.empty() && path.back() == '/') ? path : path + '/';
    std::vector<std::pair<std::string, std::int64_t>> out;
    auto it = sizes_.lower_bound(prefix);
    while (it != sizes_.end() && it->first.starts_with(prefix)) {
        const std::string_view rest = std::string_view(it->first).substr(prefix.size());
        const auto slash = rest.find('/');
        if (rest.empty()) {
            ++it;
        } else if (slash == std::string_view::npos) {
            out.emplace_back(it->first, it->second);
            ++it;
        } else {
            // Deeper down: everything below that child sorts before the child's name with '0',
            // the character after '/'.
            std::string past = prefix;
            past.append(rest.substr(0, slash)).push_back('0');
            it = sizes_.lower_bound(past);
        }
    }
    return out;
}

std::size_t SizeStore::count() const {
    const std::lock_guard guard(lock_);
    return sizes_.size();
}

}  // namespace kelvane
