#pragma once

#include <sys/stat.h>

#include <string>

#include "scan/scanner.h"

namespace kelvane {

// Walks the folder `root`, whose status (links followed) is `rootStatus`, as Scanner::scan
// describes: on the calling thread and on as many extra threads as `options` and the budget
// allow. Roots that are not folders never get here.
ScanStats walkFolderTree(const std::string& root, const struct stat& rootStatus, SizeStore& store,
                         const Scanner::Progress& progress, const Scanner::CancelTest& shouldCancel,
                         const ScanOptions& options);

}  // namespace kelvane
