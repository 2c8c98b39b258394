#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "scan/scanner.h"

namespace kelvane {

// Receives the items examined and the bytes counted so far; returning false stops the walk.
using ExportProgress = std::function<bool(std::int64_t items, std::int64_t bytes)>;

struct ExportWalkResult {
    ScanStats stats;     // as Scanner::scan would count with mount points left out
    int writeErrno = 0;  // the errno of a failed write (ECANCELED: stopped); the export is incomplete
    int rootErrno = 0;   // the root could not be examined: nothing was written
};

// Walks `root` and writes ncdu's JSON export of it to `outFd` as it goes, in tree order. The
// root entry is named `rootName` (the absolute path). The walk never leaves the root's file
// system: a mount point is written with its device and "excluded":"othfs", not entered.
// Hard-linked files are written at every name (with ino and nlink, so readers count them once)
// and counted once in `stats`.
//
// Up to `threads` threads walk (0: one per processor). A thread that has nothing to do takes
// over the next folder another one enters, and writes that folder's subtree into a text segment
// of its own; segments go out in tree order as soon as everything before them has, and a thread
// whose segment must wait stops once the waiting text passes a fixed bound, so memory stays
// bounded whatever the number of entries. `progress` is called on the calling thread, every 1024
// items it examines, with the counts of all threads.
ExportWalkResult exportTree(const std::string& root, const std::string& rootName, int outFd,
                            const ExportProgress& progress = {}, int threads = 0);

// The export of several roots (absolute paths) as one tree: the folder they share is the
// export's root, holding only the way down to each of them, and the folders on those ways count
// nothing of their own, so the export's total is the roots' total. A root inside another is
// walked as part of it. A root that cannot be examined is written as an entry with a read error;
// `rootErrno` is set only when the shared folder cannot be. One root is exported exactly as
// exportTree does.
ExportWalkResult exportRoots(std::vector<std::string> roots, int outFd,
                             const ExportProgress& progress = {}, int threads = 0);

}  // namespace kelvane
