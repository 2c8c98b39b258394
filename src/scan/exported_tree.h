#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "scan/export_reader.h"

namespace kelvane {

// A tree read from an export (ncdu's, gdu's or kelvane-scan's), held compactly for browsing:
// per entry one small record and its name's bytes, plus one index per entry listing each
// folder's children, largest first. Folder sizes are totals of everything below them, every
// file with several names counted once (by device and inode), at its first name in document
// order, as the walk itself counts it.
class ExportedTree {
  public:
    using Id = std::uint32_t;

    // Reads the whole export; an error tells where the text stopped making sense.
    static std::variant<ExportedTree, ExportError> read(int fd, const ReadProgress& progress = {});
    static std::variant<ExportedTree, ExportError> parse(std::string_view text);

    Id root() const { return 0; }
    // What the export says of itself: which program wrote it, and when.
    const ExportMetadata& metadata() const { return metadata_; }
    std::size_t size() const { return nodes_.size(); }

    // The root's name is the path the export was made of; other names are single names.
    std::string_view name(Id id) const {
        return {names_.data() + nodes_[id].nameAt, nodes_[id].nameLength};
    }
    // Allocated bytes of the entry and everything below it (du's figure).
    std::int64_t bytes(Id id) const { return nodes_[id].bytes; }
    // Apparent bytes (file lengths) of the entry and everything below it.
    std::int64_t apparentBytes(Id id) const { return nodes_[id].apparent; }
    bool isFolder(Id id) const { return (nodes_[id].flags & kFolder) != 0; }
    bool hadReadError(Id id) const { return (nodes_[id].flags & kReadError) != 0; }
    bool isExcluded(Id id) const { return (nodes_[id].flags & kExcluded) != 0; }
    Id parent(Id id) const { return nodes_[id].parent; }  // the root is its own parent

    // The entries of a folder, largest first (equal sizes in document order); empty for files.
    std::span<const Id> children(Id id) const {
        return {children_.data() + nodes_[id].firstChild, nodes_[id].childCount};
    }

    // The entry's path: the root's name and the names below it, joined with "/".
    std::string path(Id id) const;

    // The entry at `path` (the root's name, then names joined with "/"), if there is one.
    std::optional<Id> find(std::string_view path) const;

    // Bytes this tree holds in memory.
    std::size_t memoryBytes() const;

  private:
    class Builder;
    friend class Builder;
    using Reading = std::function<std::optional<ExportError>(ExportVisitor&)>;
    static std::variant<ExportedTree, ExportError> load(const Reading& reading,
                                                        std::size_t textBytes);

    static constexpr std::uint8_t kFolder = 1;
    static constexpr std::uint8_t kReadError = 2;
    static constexpr std::uint8_t kExcluded = 4;

    struct Node {
        std::uint32_t nameAt = 0;
        std::uint32_t nameLength = 0;
        std::int64_t bytes = 0;
        std::int64_t apparent = 0;
        Id parent = 0;
        Id firstChild = 0;  // into children_
        std::uint32_t childCount = 0;
        std::uint8_t flags = 0;
    };

    ExportMetadata metadata_;
    std::vector<Node> nodes_;  // in document order: a folder before everything in it
    std::vector<char> names_;
    std::vector<Id> children_;
};

}  // namespace kelvane
