#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "system/file_error.h"

namespace kelvane {

// A path that was moved to the trash or removed, with the size the caller's
// size function gave for it just before.
struct DeletedItem {
    std::string path;
    std::int64_t size = 0;
};

// A path that could not be deleted, with the error that said why.
struct DeleteFailure {
    std::string path;
    FileError error;
};

// The result of one Cleaner::deleteItems call. Every given path is in exactly
// one of the two lists; both keep the order in which the paths were given.
struct DeleteOutcome {
    std::vector<DeletedItem> deleted;
    std::vector<DeleteFailure> failures;

    // The failures that administrator rights cannot remove either: on Linux
    // the items marked immutable or append-only (our refusal `immutable`).
    // (Named protectedPaths because `protected` is a C++ keyword.)
    std::vector<std::string> protectedPaths() const;

    // The failures that the user's rights do not allow and root's would: a
    // POSIX EACCES or EPERM (a sticky folder, another user's folder) that is
    // not protected, or no POSIX error at all and a file-domain "no
    // permission" or "read-only volume" code. Never overlaps protectedPaths.
    std::vector<std::string> permissionDenied() const;
};

}  // namespace kelvane
