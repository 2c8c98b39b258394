#pragma once

#include <string>
#include <vector>

#include "core/clean_category.h"

namespace kelvane {

// The built-in table of cleanup categories and the base paths its patterns
// are formed from.
struct Catalog {
    // The user's home folder, without a trailing slash; worked out once.
    static const std::string& home();
    // The folder that holds the per-user temporary folder; worked out once.
    static const std::string& tempBase();
    // The files folder of the home trash (XDG_DATA_HOME honoured), measured
    // as the "trash" row; worked out once.
    static const std::string& trashFiles();
    // The 35 built-in rows over the process's own base paths, built afresh.
    static std::vector<CleanCategory> all();
    // The same rows over given base paths (for tests and tools). Without
    // `trashFiles`, the trash is the one XDG_DATA_HOME's default puts below
    // `home`: home + "/.local/share/Trash/files".
    static std::vector<CleanCategory> build(const std::string& home, const std::string& tempBase);
    static std::vector<CleanCategory> build(const std::string& home, const std::string& tempBase,
                                            const std::string& trashFiles);
    // Section headings of the sidebar, in display order.
    static const std::vector<std::string>& groupOrder();

    // Reserved ids.
    static constexpr const char* kOverviewID = "__overview__";
    static constexpr const char* kCustomPrefix = "custom:";
    // Scans opened from an export file: the prefix, then the file's path.
    static constexpr const char* kSavedScanPrefix = "saved-scan:";
};

}  // namespace kelvane
