#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "core/date.h"
#include "core/hash_combine.h"

namespace kelvane {

// One item of the folder browser. `path` holds the file system's bytes as they
// were listed; it is the item's identity everywhere, also for deletion.
struct Entry {
    std::string path;
    std::string name;
    bool isDir = false;
    bool isSymlink = false;
    bool isPackage = false;
    std::optional<std::int64_t> size;  // allocated bytes; absent while not yet known
    std::optional<Date> modified;

    friend bool operator==(const Entry&, const Entry&) = default;
};

}  // namespace kelvane

template <>
struct std::hash<kelvane::Entry> {
    std::size_t operator()(const kelvane::Entry& e) const noexcept {
        std::size_t seed = 0;
        kelvane::hashCombine(seed, e.path);
        kelvane::hashCombine(seed, e.name);
        kelvane::hashCombine(seed, e.isDir);
        kelvane::hashCombine(seed, e.isSymlink);
        kelvane::hashCombine(seed, e.isPackage);
        kelvane::hashCombine(seed, e.size);
        kelvane::hashCombine(seed, e.modified);
        return seed;
    }
};
