#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "scan/walk_folder.h"

namespace kelvane {

// The files with several names that one walk has met, and which folder owns each one's size.
// The owner is the folder holding the name a one-thread walk would meet first, whatever order
// the threads actually met the names in, so every folder total comes out the same with any
// number of threads. Asked only about files whose link count is 2 or more.
class LinkOwners {
  public:
    // Records that the file `dev`/`ino` of `bytes` was met as item `index` of `folder`. True
    // the first time the walk meets the file: the caller counts it then, and only then.
    // `inWalkOrder`: every earlier meeting comes before this one in the one-thread order (one
    // thread has walked so far), so an owner already recorded stays without a comparison.
    bool meet(dev_t dev, ino_t ino, std::int64_t bytes, const std::shared_ptr<WalkFolder>& folder,
              std::uint32_t index, bool inWalkOrder);

    // Adds each file's bytes to its owner's and every folder above it's `linkedBytes`. Called
    // once, after every thread of the walk has stopped.
    void settle();

  private:
    struct Key {
        dev_t dev;
        ino_t ino;
        friend bool operator==(const Key&, const Key&) = default;
    };
    struct KeyHash {
        std::size_t operator()(const Key& key) const noexcept;
    };
    struct Owner {
        std::shared_ptr<WalkFolder> folder;
        std::uint32_t index;
        std::int64_t bytes;
    };

    std::mutex mutex_;
    std::unordered_map<Key, Owner, KeyHash> owners_;
};

}  // namespace kelvane
