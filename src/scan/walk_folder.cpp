#include "scan/walk_folder.h"

namespace kelvane {

WalkFolder::WalkFolder(std::shared_ptr<WalkFolder> parentFolder, std::string folderName,
                       std::uint32_t placeInParent, dev_t device, ino_t inode,
                       std::int64_t ownBytes, SizeStore::Slot place, bool enteredByName)
    : parent(std::move(parentFolder)),
      name(std::move(folderName)),
      index(placeInParent),
      depth(parent ? parent->depth + 1 : 0),
      dev(device),
      ino(inode),
      mayCloseCycle(enteredByName || (parent && parent->mayCloseCycle)),
      total(ownBytes),
      slot(std::move(place)) {}

WalkFolder::~WalkFolder() {
    // Letting shared_ptr release the parent would destroy the whole chain recursively, one stack
    // frame per level. Whenever this is the last holder of a folder above, take over its parent
    // link first, so each folder dies with nothing left to release.
    std::shared_ptr<WalkFolder> up = std::move(parent);
    while (up && up.use_count() == 1) {
        // The count was dropped to one by another thread's release: this fence orders its last
        // reads of that folder before the change made here.
        std::atomic_thread_fence(std::memory_order_acquire);
        up = std::move(up->parent);
    }
}

bool WalkFolder::isSelfOrAbove(dev_t device, ino_t inode) const {
    for (const WalkFolder* f = this; f != nullptr; f = f->parent.get()) {
        if (f->ino == inode && f->dev == device) return true;
    }
    return false;
}

bool walksBefore(const WalkFolder& a, std::uint32_t indexA, const WalkFolder& b,
                 std::uint32_t indexB) {
    // The walk meets items in the order of their places, the lists of indexes from the root down:
    // climb to the folder both items lie in, and the one below its earlier child comes first.
    const WalkFolder* x = &a;
    const WalkFolder* y = &b;
    const auto up = [](const WalkFolder*& folder, std::uint32_t& index) {
        index = folder->index;
        folder = folder->parent.get();
    };
    while (x->depth > y->depth) up(x, indexA);
    while (y->depth > x->depth) up(y, indexB);
    while (x != y) {
        up(x, indexA);
        up(y, indexB);
    }
    return indexA < indexB;
}

}  // namespace kelvane
