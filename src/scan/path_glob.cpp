#include "scan/path_glob.h"

#include <fnmatch.h>

#include <algorithm>

#include "core/path_text.h"
#include "scan/dir_listing.h"

namespace kelvane::PathGlob {
namespace {

bool hasWildcard(const std::string& text) {
    return text.find_first_of("*?") != std::string::npos;
}

std::vector<std::string> components(const std::string& pattern) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (start <= pattern.size()) {
        const std::size_t slash = std::min(pattern.find('/', start), pattern.size());
        if (slash > start) parts.push_back(pattern.substr(start, slash - start));
        start = slash + 1;
    }
    return parts;
}

}  // namespace

std::vector<std::string> expand(const std::string& pattern) {
    if (!hasWildcard(pattern)) return {pattern};

    // Expansion always starts at "/", even for a pattern written without a leading slash.
    std::vector<std::string> candidates{"/"};
    for (const std::string& component : components(pattern)) {
        std::vector<std::string> next;
        if (hasWildcard(component)) {
            for (const std::string& base : candidates) {
                const auto names = listFolderNames(base);
                if (!names) continue;
                for (const std::string& name : *names) {
                    if (::fnmatch(component.c_str(), name.c_str(), 0) == 0) {
                        next.push_back(PathText::join(base, name));
                    }
                }
            }
        } else {
            next.reserve(candidates.size());
            for (const std::string& base : candidates)
                next.push_back(PathText::join(base, component));
        }
        candidates = std::move(next);
        if (candidates.empty()) break;
    }
    // std::string compares bytes as unsigned char, which for UTF-8 is code point order.
    std::sort(candidates.begin(), candidates.end());
    return candidates;
}

}  // namespace kelvane::PathGlob
