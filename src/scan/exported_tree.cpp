#include "scan/exported_tree.h"

#include <sys/stat.h>

#include <algorithm>
#include <limits>
#include <unordered_set>

namespace kelvane {

// Turns the reader's entries into the tree's records, totalling folders as they close.
class ExportedTree::Builder final : public ExportVisitor {
  public:
    // `textBytes`, when known, is the export's length: the records and names are reserved
    // from it, so reading does not grow them by doubling, which for a while held the old and
    // the new copy, twice the tree.
    Builder(ExportedTree& tree, std::size_t textBytes) : tree_(tree) {
        tree_.nodes_.reserve(textBytes / kTextPerEntry);
        tree_.names_.reserve(textBytes / kTextPerName);
    }

    void metadata(const ExportMetadata& said) override { tree_.metadata_ = said; }

    void folder(const ExportEntry& entry) override {
        const Id id = add(entry, kFolder);
        if (id == kFull) return;
        devs_.push_back(entry.dev ? *entry.dev : (devs_.empty() ? 0 : devs_.back()));
        open_.push_back(id);
    }

    void file(const ExportEntry& entry) override {
        const Id id = add(entry, 0);
        if (id == kFull || open_.empty()) return;
        Node& node = tree_.nodes_[id];
        // Files with several names: the first name met carries the size into the totals.
        if ((entry.hlnkc || entry.nlink >= 2) &&
            !linked_.insert(Key{devs_.back(), entry.ino}).second) {
            return;
        }
        Node& parent = tree_.nodes_[open_.back()];
        parent.bytes += node.bytes;
        parent.apparent += node.apparent;
    }

    void leave() override {
        if (open_.empty()) return;
        const Node& done = tree_.nodes_[open_.back()];
        open_.pop_back();
        devs_.pop_back();
        if (open_.empty()) return;
        Node& parent = tree_.nodes_[open_.back()];
        parent.bytes += done.bytes;
        parent.apparent += done.apparent;
    }

    // Places each folder's children side by side in one index, largest first.
    void finish() {
        std::vector<Node>& nodes = tree_.nodes_;
        trim(nodes);
        trim(tree_.names_);
        std::uint32_t next = 0;
        for (Node& node : nodes) {
            node.firstChild = next;
            next += node.childCount;
            node.childCount = 0;
        }
        tree_.children_.resize(next);
        for (Id id = 1; id < nodes.size(); ++id) {
            Node& parent = nodes[nodes[id].parent];
            tree_.children_[parent.firstChild + parent.childCount++] = id;
        }
        for (const Node& node : nodes) {
            if (node.childCount < 2) continue;
            const auto first = tree_.children_.begin() + node.firstChild;
            std::sort(first, first + node.childCount, [&](Id a, Id b) {
                return nodes[a].bytes != nodes[b].bytes ? nodes[a].bytes > nodes[b].bytes : a < b;
            });
        }
    }

    bool overflowed() const { return overflowed_; }

  private:
    static constexpr Id kFull = std::numeric_limits<Id>::max();
    // An entry takes at least 40 bytes of text in what ncdu and kelvane-scan write ({"name":
    // "…","asize":…,"dsize":…},\n), and its name rarely more than a sixth of it.
    static constexpr std::size_t kTextPerEntry = 40;
    static constexpr std::size_t kTextPerName = 6;

    // Gives back a reservation that turned out much too large; a small excess is not worth the
    // copy, which would briefly hold the data twice.
    template <typename T>
    static void trim(std::vector<T>& values) {
        if (values.capacity() > values.size() + values.size() / 4) values.shrink_to_fit();
    }

    Id add(const ExportEntry& entry, std::uint8_t flags) {
        std::vector<Node>& nodes = tree_.nodes_;
        std::vector<char>& names = tree_.names_;
        if (nodes.size() >= kFull - 1 ||
            names.size() + entry.name.size() > std::numeric_limits<std::uint32_t>::max()) {
            overflowed_ = true;
            return kFull;
        }
        Node node;
        node.nameAt = static_cast<std::uint32_t>(names.size());
        node.nameLength = static_cast<std::uint32_t>(entry.name.size());
        names.insert(names.end(), entry.name.begin(), entry.name.end());
        node.bytes = entry.dsize;
        node.apparent = entry.asize;
        node.parent = open_.empty() ? 0 : open_.back();
        node.flags = static_cast<std::uint8_t>(flags | (entry.readError ? kReadError : 0) |
                                               (entry.excluded ? kExcluded : 0));
        const Id id = static_cast<Id>(nodes.size());
        nodes.push_back(node);
        if (!open_.empty()) ++nodes[open_.back()].childCount;
        return id;
    }

    struct Key {
        std::uint64_t dev;
        std::uint64_t ino;
        friend bool operator==(const Key&, const Key&) = default;
    };
    struct KeyHash {
        std::size_t operator()(const Key& key) const noexcept {
            return std::hash<std::uint64_t>()(key.ino * 0x9e3779b97f4a7c15ULL ^ key.dev);
        }
    };

    ExportedTree& tree_;
    std::vector<Id> open_;
    std::vector<std::uint64_t> devs_;  // the device each open folder is on, inherited downwards
    std::unordered_set<Key, KeyHash> linked_;
    bool overflowed_ = false;
};

std::variant<ExportedTree, ExportError> ExportedTree::load(const Reading& reading,
                                                           std::size_t textBytes) {
    ExportedTree tree;
    Builder builder(tree, textBytes);
    if (std::optional<ExportError> error = reading(builder)) return *std::move(error);
    if (builder.overflowed()) return ExportError{0, "項目が多すぎて読み込めません"};
    builder.finish();
    return tree;
}

std::variant<ExportedTree, ExportError> ExportedTree::read(int fd, const ReadProgress& progress) {
    struct stat status {};
    const std::size_t textBytes = ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode)
                                      ? static_cast<std::size_t>(status.st_size)
                                      : 0;
    return load(
        [fd, &progress](ExportVisitor& visitor) { return readExport(fd, visitor, progress); },
        textBytes);
}

std::variant<ExportedTree, ExportError> ExportedTree::parse(std::string_view text) {
    return load([text](ExportVisitor& visitor) { return readExport(text, visitor); }, text.size());
}

std::string ExportedTree::path(Id id) const {
    std::vector<Id> chain;
    for (; id != root(); id = parent(id)) chain.push_back(id);
    std::string out(name(root()));
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        if (out.empty() || out.back() != '/') out += '/';
        out += name(*it);
    }
    return out;
}

std::optional<ExportedTree::Id> ExportedTree::find(std::string_view path) const {
    const std::string_view top = name(root());
    if (path.substr(0, top.size()) != top) return std::nullopt;
    path.remove_prefix(top.size());
    // Below a root named "/" the first name follows at once; below any other, after a "/".
    if (!path.empty() && (top.empty() || top.back() != '/')) {
        if (path.front() != '/') return std::nullopt;
        path.remove_prefix(1);
    }
    Id at = root();
    while (!path.empty()) {
        const std::size_t slash = path.find('/');
        const std::string_view piece = path.substr(0, slash);
        const std::span<const Id> inside = children(at);
        const auto next = std::find_if(inside.begin(), inside.end(),
                                       [&](Id child) { return name(child) == piece; });
        if (next == inside.end()) return std::nullopt;
        at = *next;
        path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
    }
    return at;
}

std::size_t ExportedTree::memoryBytes() const {
    return nodes_.capacity() * sizeof(Node) + names_.capacity() + children_.capacity() * sizeof(Id);
}

}  // namespace kelvane
