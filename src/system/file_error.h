#pragma once

#include <memory>
#include <string>

namespace kelvane {

// An error reported by a file operation, shaped like the platform error
// objects the deletion flows were designed around: a domain, a code within
// that domain, a readable description and optionally the lower-level error
// that caused it. Our own file operations report a file-domain error whose
// underlying error is the POSIX one, carrying the exact errno of the system
// call that failed.
struct FileError {
    // Domains. POSIX errors carry an errno value as their code.
    static constexpr const char* posixDomain = "NSPOSIXErrorDomain";
    static constexpr const char* cocoaDomain = "NSCocoaErrorDomain";

    // File-domain codes the classifications know about.
    static constexpr int noSuchFile = 4;             // NSFileNoSuchFileError
    static constexpr int readNoPermission = 257;     // NSFileReadNoPermissionError
    static constexpr int writeUnknown = 512;         // NSFileWriteUnknownError
    static constexpr int writeNoPermission = 513;    // NSFileWriteNoPermissionError
    static constexpr int writeVolumeReadOnly = 642;  // NSFileWriteVolumeReadOnlyError

    std::string domain;
    int code = 0;
    std::string description;
    // Shared and immutable, so copying a FileError stays cheap and a chain of
    // any depth is still a plain value.
    std::shared_ptr<const FileError> underlying;

    // A POSIX-domain error for `errnum`, described by strerror.
    static FileError posix(int errnum);

    // A file-domain error for a failed `operation` ("rename", "unlinkat", ...)
    // on `path`, wrapping the POSIX error `errnum`. The file-domain code is
    // chosen from errnum the way the platform would (EACCES/EPERM: 513,
    // EROFS: 642, ENOENT: 4, anything else: 512).
    static FileError fromErrno(int errnum, const std::string& operation, const std::string& path);
};

}  // namespace kelvane
