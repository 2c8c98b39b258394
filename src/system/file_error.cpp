#include "system/file_error.h"

#include <cerrno>
#include <cstring>

namespace kelvane {
namespace {

int fileDomainCode(int errnum) {
    switch (errnum) {
        case EACCES:
        case EPERM:
            return FileError::writeNoPermission;
        case EROFS:
            return FileError::writeVolumeReadOnly;
        case ENOENT:
            return FileError::noSuchFile;
        default:
            return FileError::writeUnknown;
    }
}

}  // namespace

FileError FileError::posix(int errnum) {
    char buffer[256];
    return {posixDomain, errnum, strerror_r(errnum, buffer, sizeof buffer), nullptr};
}

FileError FileError::fromErrno(int errnum, const std::string& operation, const std::string& path) {
    auto cause = std::make_shared<const FileError>(posix(errnum));
    std::string description;
    description.reserve(operation.size() + path.size() + cause->description.size() + 5);
    description.append(operation).append(" \"").append(path).append("\": ");
    description.append(cause->description);
    return {cocoaDomain, fileDomainCode(errnum), std::move(description), std::move(cause)};
}

}  // namespace kelvane
