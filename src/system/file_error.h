#pragma once

#include <memory>
#include <optional>
#include <string>

namespace kelvane {

// An error reported by a file operation, shaped like the platform error
// objects the deletion flows were designed around: a domain, a code within
// that domain, a readable description and optionally the lower-level error
// that caused it. Our own file operations report a file-domain error whose
// underlying error is the POSIX one, carrying the exact errno of the system
// call that failed. Descriptions are Japanese sentences of our own (never the
// C library's locale-dependent text), without call names or paths: the
// deletion report already names the item.
struct FileError {
    // Domains. POSIX errors carry an errno value as their code.
    static constexpr const char* posixDomain = "NSPOSIXErrorDomain";
    static constexpr const char* cocoaDomain = "NSCocoaErrorDomain";
    // Refusals of our own deletion rules: nothing failed, we chose not to act.
    static constexpr const char* refusalDomain = "KelvaneDeletionDomain";

    // File-domain codes the classifications know about.
    static constexpr int noSuchFile = 4;             // NSFileNoSuchFileError
    static constexpr int readNoPermission = 257;     // NSFileReadNoPermissionError
    static constexpr int writeUnknown = 512;         // NSFileWriteUnknownError
    static constexpr int writeNoPermission = 513;    // NSFileWriteNoPermissionError
    static constexpr int writeVolumeReadOnly = 642;  // NSFileWriteVolumeReadOnlyError

    // Refusal codes.
    static constexpr int mountPoint = 1;        // the item is where a volume is mounted
    static constexpr int mountInside = 2;       // a volume mounted below the item was left alone
    static constexpr int untrustedLink = 3;     // a parent folder is another user's symbolic link
    static constexpr int trashOwnFolder = 4;    // a folder of the trash itself
    static constexpr int noUsableTrash = 5;     // the item's volume has no trash we may use
    static constexpr int immutable = 6;         // immutable or append-only: not even root may
    static constexpr int notReported = 7;       // the administrator helper said nothing of it
    static constexpr int changedMeanwhile = 8;  // a folder was replaced while being removed
    static constexpr int mountInsideNotMoved = 9;  // not trashed: a volume is mounted below it
    static constexpr int protectedRoot = 10;       // "/", the home folder or above, a system folder
    static constexpr int stopped = 11;             // the user stopped the deletion during this item
    static constexpr int notStarted = 12;          // the user stopped the deletion before this item
    static constexpr int notASnapshot = 13;        // not a read-only Btrfs snapshot

    std::string domain;
    int code = 0;
    std::string description;
    // Shared and immutable, so copying a FileError stays cheap and a chain of
    // any depth is still a plain value.
    std::shared_ptr<const FileError> underlying;

    // A POSIX-domain error for `errnum`.
    static FileError posix(int errnum);

    // A file-domain error for a failed file operation, wrapping the POSIX
    // error `errnum`. The file-domain code is chosen from errnum the way the
    // platform would (EACCES/EPERM: 513, EROFS: 642, ENOENT: 4, anything
    // else: 512).
    static FileError fromErrno(int errnum);

    // One of our refusals; `errnum`, when not 0, is kept as the underlying
    // POSIX error (an immutable item's EPERM, say).
    static FileError refusal(int code, int errnum = 0);

    // The POSIX error number in this error or in the errors it wraps, at
    // any depth.
    std::optional<int> posixErrno() const;

    // Whether this is our refusal `code`.
    bool isRefusal(int refusalCode) const;
};

}  // namespace kelvane
