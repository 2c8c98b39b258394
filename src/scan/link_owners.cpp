#include "scan/link_owners.h"

#include <functional>

namespace kelvane {

std::size_t LinkOwners::KeyHash::operator()(const Key& key) const noexcept {
    // Inode numbers on one device are already well spread; folding the device in keeps keys
    // from different volumes apart in the unlikely case a walk meets them.
    return std::hash<std::uint64_t>{}(static_cast<std::uint64_t>(key.ino) ^
                                      (static_cast<std::uint64_t>(key.dev) << 40));
}

bool LinkOwners::meet(dev_t dev, ino_t ino, std::int64_t bytes,
                      const std::shared_ptr<WalkFolder>& folder, std::uint32_t index,
                      bool inWalkOrder) {
    const std::lock_guard guard(mutex_);
    const auto [it, first] = owners_.try_emplace(Key{dev, ino}, folder, index, bytes);
    if (first) {
        folder->holdsLinks.store(true, std::memory_order_relaxed);
        return true;
    }
    Owner& owner = it->second;
    if (!inWalkOrder && walksBefore(*folder, index, *owner.folder, owner.index)) {
        folder->holdsLinks.store(true, std::memory_order_relaxed);
        owner.folder = folder;
        owner.index = index;
    }
    return false;
}

void LinkOwners::settle() {
    const std::lock_guard guard(mutex_);
    for (const auto& [key, owner] : owners_) {
        for (WalkFolder* f = owner.folder.get(); f != nullptr; f = f->parent.get()) {
            f->linkedBytes += owner.bytes;
        }
    }
}

}  // namespace kelvane
