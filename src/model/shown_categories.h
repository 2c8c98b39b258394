#pragma once

#include <string>
#include <vector>

#include "core/clean_category.h"

namespace kelvane {

// Which catalog rows this machine lists.
namespace ShownCategories {

// Every row, except a row that exists only on the other platform
// (CatalogOnLinux::onlyWhenPresent) none of whose patterns names a folder
// here: it could only ever show "なし", and its name would talk about tools
// this system does not have. Decided once, when the model is made.
std::vector<CleanCategory> onThisMachine(std::vector<CleanCategory> rows);

}  // namespace ShownCategories
}  // namespace kelvane
