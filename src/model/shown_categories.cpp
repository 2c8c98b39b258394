#include "model/shown_categories.h"

#include <algorithm>

#include "core/catalog_on_linux.h"
#include "model/file_probe.h"
#include "scan/path_glob.h"

namespace kelvane::ShownCategories {
namespace {

bool hasFolder(const CleanCategory& row) {
    return std::any_of(row.patterns.begin(), row.patterns.end(), [](const std::string& pattern) {
        const std::vector<std::string> paths = PathGlob::expand(pattern);
        return std::any_of(paths.begin(), paths.end(), FileProbe::isFolder);
    });
}

}  // namespace

std::vector<CleanCategory> onThisMachine(std::vector<CleanCategory> rows) {
    std::erase_if(rows, [](const CleanCategory& row) {
        return CatalogOnLinux::onlyWhenPresent(row) && !hasFolder(row);
    });
    return rows;
}

}  // namespace kelvane::ShownCategories
