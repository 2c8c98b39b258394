#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "scan/size_store.h"

namespace kelvane {

// A folder of a running walk, from the moment the walk meets it until its total is final. Its
// subfolders hold it, so it lives as long as any of them is still being walked, on whichever
// thread. It keeps only its own name, never its whole path, so a deep tree costs memory in
// proportion to its depth.
struct WalkFolder {
    // `enteredByName`: the walk came in through a lookup by name that may cross onto another
    // mount, not through an open that refuses to leave the parent's mount.
    WalkFolder(std::shared_ptr<WalkFolder> parent, std::string name, std::uint32_t index, dev_t dev,
               ino_t ino, std::int64_t ownBytes, SizeStore::Slot slot, bool enteredByName = false);
    // Releases the chain of folders above without recursing, however deep it is.
    ~WalkFolder();
    WalkFolder(const WalkFolder&) = delete;
    WalkFolder& operator=(const WalkFolder&) = delete;

    // Whether `dev`/`ino` is this folder or one above it (a folder met again closes a cycle).
    bool isSelfOrAbove(dev_t dev, ino_t ino) const;

    std::shared_ptr<WalkFolder> parent;
    const std::string name;     // empty for the root
    const std::uint32_t index;  // its place among its parent's names, in listing order
    const std::uint32_t depth;
    const dev_t dev;
    const ino_t ino;
    // It or a folder above it was entered by name, so the way here may pass through a bind mount
    // of a folder above. Without one, every folder on the way is on the mount the walk began on,
    // and there the kernel never lets a folder appear a second time below itself: no cycle.
    const bool mayCloseCycle;

    // Its own size plus everything below it counted so far, hard-linked files aside.
    std::atomic<std::int64_t> total;
    // One for its own listing plus one per subfolder not yet finished; at zero it is final.
    std::atomic<int> pending{1};
    // Something below it may own a hard-linked file: its total is final only after the walk.
    std::atomic<bool> holdsLinks{false};
    // Bytes of the hard-linked files it owns below it, added once the walk has ended.
    std::int64_t linkedBytes = 0;
    // Where its total goes once final; its subfolders' places are made inside it.
    SizeStore::Slot slot;
};

// Whether the item `indexA` of `a` comes before the item `indexB` of `b` in the order a
// one-thread depth-first walk meets them.
bool walksBefore(const WalkFolder& a, std::uint32_t indexA, const WalkFolder& b,
                 std::uint32_t indexB);

}  // namespace kelvane
