#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kelvane {

// The shared memory of measured folder sizes: folder path -> allocated bytes below it.
// Scans, listings and deletions on different threads use one store at the same time; every
// operation takes the one lock for its whole duration and never calls another operation while
// holding it.
//
// Paths are kept as a tree of names, one node per folder, so a key costs its own name rather
// than its whole path and a walk can record a folder through its parent's node without the
// path being built, compared or looked up again. A path means its sequence of names: empty
// names are ignored, so "/a", "/a/" and "//a" are one key. Nothing else is interpreted ("." and
// ".." are names like any other). Absolute and relative paths are two separate trees.
class SizeStore {
    struct Node;

  public:
    // A folder's place in the store, held while a walk measures it. Its node stays in the tree
    // however the folder's keys are removed meanwhile, so recording through it never loses its
    // way: it records exactly what recording by the folder's path would. Must not outlive the
    // store.
    class Slot {
      public:
        Slot() = default;
        Slot(Slot&& other) noexcept : store_(other.store_), node_(std::exchange(other.node_, {})) {}
        Slot& operator=(Slot&& other) noexcept;
        Slot(const Slot&) = delete;
        Slot& operator=(const Slot&) = delete;
        ~Slot() { release(); }

      private:
        friend class SizeStore;
        Slot(SizeStore* store, Node* node) : store_(store), node_(node) {}
        void release();

        SizeStore* store_ = nullptr;
        Node* node_ = nullptr;
    };

    SizeStore();
    ~SizeStore();
    SizeStore(const SizeStore&) = delete;
    SizeStore& operator=(const SizeStore&) = delete;

    // The value recorded for this key, if any.
    std::optional<std::int64_t> size(std::string_view path) const;

    // Sets the value for `path`, replacing an earlier one (never adds up).
    void record(std::int64_t bytes, std::string_view path);

    // A slot for `path`, or for the folder `name` inside the slot `parent`, without a value yet.
    Slot place(std::string_view path);
    Slot place(const Slot& parent, std::string_view name);
    // Sets the value of the slot's folder and gives the slot up.
    void record(std::int64_t bytes, Slot slot);

    // Removes `path` and every key below it ("/a/b" takes "/a/b/c" but not "/a/bc"); a path that
    // ends in "/" (other than "/" itself) only takes the keys below it. Returns the value `path`
    // itself had. Costs O(depth + k) for k folders below it.
    std::optional<std::int64_t> removeSubtree(std::string_view path);

    // Adds `delta` to every recorded ancestor of `path` up to and including "/", clamping each at
    // zero. Ancestors without a value are skipped (nothing is created); `path` itself is untouched,
    // except that "/", which has no parent, counts as its own.
    void adjust(std::string_view path, std::int64_t delta);

    // The recorded keys one level below `path` with their values, in byte order of their names,
    // each spelled as `path`, one "/" and the name. Costs O(c) for c children, however much is
    // recorded deeper down.
    std::vector<std::pair<std::string, std::int64_t>> children(std::string_view path) const;

    // Number of recorded keys.
    std::size_t count() const;

  private:
    struct Node {
        std::map<std::string, Node, std::less<>> children;
        Node* parent = nullptr;
        const std::string* name = nullptr;  // its key in the parent's map
        std::int64_t value = 0;
        int holders = 0;  // slots that point here
        bool recorded = false;
    };

    Node* find(std::string_view path) const;
    Node& make(std::string_view path);
    void set(Node& node, std::int64_t bytes);
    void unset(Node& node);
    void release(Node* node);
    void clearBelow(Node& top);
    void dropIfUnused(Node* node);

    mutable std::mutex lock_;
    Node absolute_;  // "/"
    Node relative_;  // "", above every relative path
    std::size_t count_ = 0;
};

}  // namespace kelvane
