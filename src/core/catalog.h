#pragma once

#include <string>
#include <vector>

#include "core/clean_category.h"

namespace kelvane {

// The built-in table of cleanup categories and the two base paths its
// patterns are formed from.
struct Catalog {
    // The user's home folder, without a trailing slash; worked out once.
    static const std::string& home();
    // The folder that holds the per-user temporary folder; worked out once.
    static const std::string& tempBase();
    // The 35 built-in rows over the process's own base paths, built afresh.
    static std::vector<CleanCategory> all();
    // The same rows over given base paths (for tests and tools).
    static std::vector<CleanCategory> build(const std::string& home, const std::string& tempBase);
    // Section headings of the sidebar, in display order.
    static const std::vector<std::string>& groupOrder();

    // Reserved ids.
    static constexpr const char* kOverviewID = "__overview__";
    static constexpr const char* kCustomPrefix = "custom:";
};

}  // namespace kelvane
