#include "system/file_error.h"

#include <cerrno>
#include <string_view>

#include "system/error_text.h"

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
    return {posixDomain, errnum, ErrorText::posix(errnum), nullptr};
}

FileError FileError::fromErrno(int errnum) {
    auto cause = std::make_shared<const FileError>(posix(errnum));
    std::string description = cause->description;
    return {cocoaDomain, fileDomainCode(errnum), std::move(description), std::move(cause)};
}

FileError FileError::refusal(int code, int errnum) {
    return {refusalDomain, code, ErrorText::refusal(code),
            errnum != 0 ? std::make_shared<const FileError>(posix(errnum)) : nullptr};
}

std::optional<int> FileError::posixErrno() const {
    for (const FileError* e = this; e != nullptr; e = e->underlying.get()) {
        if (std::string_view(e->domain) == posixDomain) return e->code;
    }
    return std::nullopt;
}

bool FileError::isRefusal(int refusalCode) const {
    return std::string_view(domain) == refusalDomain && code == refusalCode;
}

}  // namespace kelvane
