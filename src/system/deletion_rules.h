#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <variant>

#include "core/unique_fd.h"
#include "system/file_error.h"
#include "system/file_identity.h"
#include "system/protected_roots.h"

namespace kelvane {

// The rules every way of deleting shares — to the trash, for good, and as
// administrator — so that none of them can reach an item the user did not
// confirm:
// - the item is found from "/" one folder at a time; a symbolic link among
//   its parent folders is followed only when root or the user who asked
//   owns it (another user could otherwise point the path at anything, even
//   between the confirmation and the deletion);
// - the item itself is never followed: a link is deleted as a link;
// - an item that is a mount point is never emptied, removed or moved, nor
//   is a folder moved with a volume mounted anywhere below it;
// - from then on everything happens relative to the descriptor of the
//   folder that holds the item, so renaming or swapping folders above it
//   cannot redirect the work;
// - "/", the home folder and the folders above it, and the system's own
//   folders and volumes are never removed or moved (protected_roots.h).
// The walk below the item (never following links, never entering another
// mount) is TreeRemover's; the trash's own folders are checked here.
namespace DeletionRules {

// Whose symbolic links may be followed on the way to an item: root's and
// those of the user on whose behalf we delete.
struct LinkTrust {
    uid_t user = 0;
    bool trusts(uid_t owner) const { return owner == 0 || owner == user; }
    // The user running this process.
    static LinkTrust currentUser();
};

// An item found under the rules, ready to be deleted.
struct Target {
    UniqueFd parent;  // O_PATH descriptor of the folder that holds the item
    FileIdentity parentIdentity;
    std::string name;  // the item's name in that folder
    FileIdentity item;
};

// Finds items under the rules above, one after another, as a batch of
// deletions meets them. An item in the same folder (by the path's text) as
// the item before it is found in the folder already found for that one,
// without walking from "/" again: deleting an item never moves the folder
// that holds it, and the work stays in a folder found under the rules even
// if someone renames or swaps the folders above it meanwhile.
class Locator {
  public:
    // The protected folders are those of the user `trust` speaks for.
    explicit Locator(LinkTrust trust)
        : trust_(trust), roots_(ProtectedRoots::forUser(trust.user)) {}

    // Finds `path`. Fails with ENOENT for an empty path or a missing item,
    // EINVAL for names ending in "." or "..", the refusal protectedRoot,
    // untrustedLink or mountPoint, or the errno of the call that failed.
    std::variant<Target, FileError> locate(const std::string& path);

  private:
    LinkTrust trust_;
    ProtectedRoots roots_;
    // The folder that held the last item found, by the path it was found by.
    std::string folderPath_;
    UniqueFd folder_;
    FileIdentity folderIdentity_;
};

// What a removal reports for an item when parts of it could not go, from
// every failure met, whatever order they came in: a lack of rights that root
// does not have (the administrator is then offered the item) before
// anything else; the item is protected (immutable) only when everything
// that stayed is immutable or append-only; otherwise the first other
// failure. A stop by the user outranks them all: the item was not finished.
class FailureVerdict {
  public:
    void add(const FileError& error);
    std::optional<FileError> verdict() const;

  private:
    std::optional<FileError> stopped_;
    std::optional<FileError> denied_;
    std::optional<FileError> other_;
    std::optional<FileError> immutable_;
};

// The error for `errnum` met while deleting `name` in the folder `dirFd`: a
// refusal by EPERM or EACCES of an immutable or append-only item, or of
// anything directly inside such a folder, is the refusal `immutable` (no
// one can remove it, root included); anything else keeps its errno.
FileError failure(int dirFd, const std::string& name, int errnum);

// Refuses (mountInsideNotMoved) to move the folder that really is at `physicalPath`
// (links resolved) when a volume is mounted anywhere below it: one rename
// would carry the volume along, into the trash say. Fails with the errno of
// reading the mount table when it cannot be read: not knowing is no licence.
std::optional<FileError> refuseMountsBelow(const std::string& physicalPath);

// Whether `item` is the trash folder `trashFolder` or one of the folders the
// trash keeps its bookkeeping in (files, info, directorysizes): moving any of
// them into the trash would orphan everything trashed before.
bool isTrashFolder(const FileIdentity& item, const std::string& trashFolder);

// Whether an item called `name` can be a trash folder at all: the home trash
// ("Trash"), a volume's (".Trash", ".Trash-<uid>", "<uid>" inside .Trash) or
// one of their bookkeeping folders. Anything else needs no identity checks.
bool mayBeTrashFolder(const std::string& name);

}  // namespace DeletionRules
}  // namespace kelvane
