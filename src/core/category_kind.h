#pragma once

namespace kelvane {

// What a category stands for: folders to measure and browse, or one of the two
// tool-backed lists.
enum class CategoryKind { folders, snapshots, runtimes };

}  // namespace kelvane
