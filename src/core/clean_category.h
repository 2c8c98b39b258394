#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/category_kind.h"
#include "core/risk.h"

namespace kelvane {

// One cleanup category: a row of the catalog or a folder the user added.
// Identified by `id` alone, so two values with the same id are the same
// category whatever else they hold.
struct CleanCategory {
    std::string id;
    std::string group;
    std::string name;
    std::string icon;
    std::string detail;
    Risk risk = Risk::safe;
    CategoryKind kind = CategoryKind::folders;
    std::vector<std::string> patterns;
    bool scanOnLaunch = false;
    bool quickClean = false;

    friend bool operator==(const CleanCategory& a, const CleanCategory& b) { return a.id == b.id; }
};

}  // namespace kelvane

template <>
struct std::hash<kelvane::CleanCategory> {
    std::size_t operator()(const kelvane::CleanCategory& c) const noexcept {
        return std::hash<std::string>{}(c.id);
    }
};
