#include "system/delete_outcome.h"

#include <cerrno>
#include <string_view>

#include "system/cleaner.h"

namespace kelvane {
namespace {

bool isProtected(const FileError& error) {
    return error.isRefusal(FileError::immutable);
}

bool isPermissionDenied(const FileError& error) {
    // Our refusals are rules, not rights: root would be refused the same.
    if (std::string_view(error.domain) == FileError::refusalDomain) return false;
    if (const auto errnum = Cleaner::underlyingErrno(error)) {
        return *errnum == EACCES || *errnum == EPERM;
    }
    // Without a POSIX cause only the file domain's own permission codes count.
    return std::string_view(error.domain) == FileError::cocoaDomain &&
           (error.code == FileError::writeNoPermission ||
            error.code == FileError::readNoPermission ||
            error.code == FileError::writeVolumeReadOnly);
}

template <typename Predicate>
std::vector<std::string> failedPaths(const std::vector<DeleteFailure>& failures, Predicate keep) {
    std::vector<std::string> paths;
    for (const DeleteFailure& f : failures) {
        if (keep(f.error)) paths.push_back(f.path);
    }
    return paths;
}

}  // namespace

std::vector<std::string> DeleteOutcome::protectedPaths() const {
    return failedPaths(failures, isProtected);
}

std::vector<std::string> DeleteOutcome::permissionDenied() const {
    return failedPaths(failures, isPermissionDenied);
}

}  // namespace kelvane
