#include "scan/size_store.h"

#include <algorithm>

namespace kelvane {
namespace {

// Calls `visit` with each non-empty name of `path`, in order.
template <typename Visit>
void forEachName(std::string_view path, Visit&& visit) {
    std::size_t at = 0;
    while (at < path.size()) {
        const std::size_t slash = std::min(path.find('/', at), path.size());
        if (slash > at) visit(path.substr(at, slash - at));
        at = slash + 1;
    }
}

bool isAbsolute(std::string_view path) {
    return !path.empty() && path.front() == '/';
}

}  // namespace

SizeStore::Slot& SizeStore::Slot::operator=(Slot&& other) noexcept {
    if (this != &other) {
        release();
        store_ = other.store_;
        node_ = std::exchange(other.node_, nullptr);
    }
    return *this;
}

void SizeStore::Slot::release() {
    if (node_ != nullptr) store_->release(std::exchange(node_, nullptr));
}

SizeStore::SizeStore() = default;

SizeStore::~SizeStore() {
    // Emptied level by level: letting the maps destroy each other would recurse once per level of
    // the deepest folder.
    clearBelow(absolute_);
    clearBelow(relative_);
}

std::optional<std::int64_t> SizeStore::size(std::string_view path) const {
    const std::lock_guard guard(lock_);
    const Node* node = find(path);
    if (node == nullptr || !node->recorded) return std::nullopt;
    return node->value;
}

void SizeStore::record(std::int64_t bytes, std::string_view path) {
    const std::lock_guard guard(lock_);
    set(make(path), bytes);
}

SizeStore::Slot SizeStore::place(std::string_view path) {
    const std::lock_guard guard(lock_);
    Node& node = make(path);
    ++node.holders;
    return Slot(this, &node);
}

SizeStore::Slot SizeStore::place(const Slot& parent, std::string_view name) {
    const std::lock_guard guard(lock_);
    Node* const up = parent.node_;
    auto [it, added] = up->children.try_emplace(std::string(name));
    if (added) {
        it->second.parent = up;
        it->second.name = &it->first;
    }
    ++it->second.holders;
    return Slot(this, &it->second);
}

void SizeStore::record(std::int64_t bytes, Slot slot) {
    const std::lock_guard guard(lock_);
    Node* const node = std::exchange(slot.node_, nullptr);
    set(*node, bytes);
    --node->holders;
}

std::optional<std::int64_t> SizeStore::removeSubtree(std::string_view path) {
    const std::lock_guard guard(lock_);
    Node* const node = find(path);
    if (node == nullptr) return std::nullopt;
    clearBelow(*node);
    if (path.size() > 1 && path.back() == '/') {
        dropIfUnused(node);
        return std::nullopt;
    }
    std::optional<std::int64_t> own;
    if (node->recorded) own = node->value;
    unset(*node);
    dropIfUnused(node);
    return own;
}

void SizeStore::adjust(std::string_view path, std::int64_t delta) {
    const std::lock_guard guard(lock_);
    const auto change = [delta](Node& node) {
        if (node.recorded) node.value = std::max<std::int64_t>(0, node.value + delta);
    };
    // The ancestors are the nodes on the way down to the last name, not that name's own node.
    Node* node = isAbsolute(path) ? &absolute_ : &relative_;
    std::string_view last;
    bool any = false;
    forEachName(path, [&](std::string_view name) {
        if (node == nullptr) return;
        if (any) {
            if (node != &relative_) change(*node);
            const auto it = node->children.find(last);
            node = it == node->children.end() ? nullptr : &it->second;
        }
        last = name;
        any = true;
    });
    if (node != nullptr && node != &relative_) change(*node);
}

std::vector<std::pair<std::string, std::int64_t>> SizeStore::children(std::string_view path) const {
    const std::lock_guard guard(lock_);
    std::vector<std::pair<std::string, std::int64_t>> out;
    const Node* const node = find(path);
    if (node == nullptr) return out;
    std::string prefix(path);
    if (prefix.empty() || prefix.back() != '/') prefix.push_back('/');
    for (const auto& [name, child] : node->children) {
        if (child.recorded) out.emplace_back(prefix + name, child.value);
    }
    return out;
}

std::size_t SizeStore::count() const {
    const std::lock_guard guard(lock_);
    return count_;
}

SizeStore::Node* SizeStore::find(std::string_view path) const {
    const Node* node = isAbsolute(path) ? &absolute_ : &relative_;
    forEachName(path, [&](std::string_view name) {
        if (node == nullptr) return;
        const auto it = node->children.find(name);
        node = it == node->children.end() ? nullptr : &it->second;
    });
    // Only the store's own nodes are reached, and it hands them out under its own lock.
    return const_cast<Node*>(node);
}

SizeStore::Node& SizeStore::make(std::string_view path) {
    Node* node = isAbsolute(path) ? &absolute_ : &relative_;
    forEachName(path, [&](std::string_view name) {
        auto it = node->children.find(name);
        if (it == node->children.end()) {
            it = node->children.emplace(std::string(name), Node{}).first;
            it->second.parent = node;
            it->second.name = &it->first;
        }
        node = &it->second;
    });
    return *node;
}

void SizeStore::set(Node& node, std::int64_t bytes) {
    if (!node.recorded) ++count_;
    node.recorded = true;
    node.value = bytes;
}

void SizeStore::unset(Node& node) {
    if (node.recorded) --count_;
    node.recorded = false;
    node.value = 0;
}

void SizeStore::release(Node* node) {
    const std::lock_guard guard(lock_);
    --node->holders;
    dropIfUnused(node);
}

// Clears every value below `top` and frees every node that no slot holds and that holds no such
// node below it. A held node stays where it is, and so do the nodes above it: its walk goes on
// recording under the same path.
void SizeStore::clearBelow(Node& top) {
    // Parents come before their children in `order`; going through it backwards meets every node
    // after all of its children, when a node that can go has no children left to free with it.
    std::vector<Node*> order;
    for (auto& [name, child] : top.children) order.push_back(&child);
    for (std::size_t i = 0; i < order.size(); ++i) {
        for (auto& [name, child] : order[i]->children) order.push_back(&child);
    }
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
        Node& node = **it;
        unset(node);
        if (node.holders == 0 && node.children.empty()) {
            node.parent->children.erase(node.parent->children.find(*node.name));
        }
    }
}

// A node without a value, a holder or children is no key: it goes, and so do the ancestors it
// leaves in the same state.
void SizeStore::dropIfUnused(Node* node) {
    while (node->parent != nullptr && !node->recorded && node->holders == 0 &&
           node->children.empty()) {
        Node* const up = node->parent;
        up->children.erase(up->children.find(*node->name));
        node = up;
    }
}

}  // namespace kelvane
