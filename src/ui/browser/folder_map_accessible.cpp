#include "ui/browser/folder_map_accessible.h"

#include <QPointer>
#include <QWindow>

#include "ui/browser/folder_map_view.h"

namespace kelvane {
namespace {

// One tile, by its index in the map; valid while the map has that many tiles.
class TileAccessible : public QAccessibleInterface {
  public:
    TileAccessible(FolderMapView* view, int index) : view_(view), index_(index) {}

    bool isValid() const override {
        return view_ && index_ >= 0 && static_cast<std::size_t>(index_) < view_->tiles().size();
    }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return view_ ? view_->window()->windowHandle() : nullptr; }
    QAccessibleInterface* parent() const override {
        return view_ ? QAccessible::queryAccessibleInterface(view_) : nullptr;
    }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QString text(QAccessible::Text t) const override {
        if (!isValid() || t != QAccessible::Name) return {};
        const auto i = static_cast<std::size_t>(index_);
        return view_->tileName(i) + QLatin1Char(' ') + view_->tileSize(i);
    }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override {
        if (!isValid()) return {};
        const PixelRect& r = view_->tiles()[static_cast<std::size_t>(index_)].rect;
        return {view_->mapToGlobal(QPoint(r.x, r.y)), QSize(r.width, r.height)};
    }
    QAccessible::Role role() const override { return QAccessible::ListItem; }
    QAccessible::State state() const override {
        QAccessible::State s;
        if (!isValid()) {
            s.invalid = true;
            return s;
        }
        const auto i = static_cast<std::size_t>(index_);
        s.focusable = true;
        s.selectable = view_->entryOf(i) != nullptr;
        s.selected = view_->tileSelected(i);
        s.focused = view_->hasFocus() && view_->currentTile() == i;
        return s;
    }

  private:
    QPointer<FolderMapView> view_;
    const int index_;
};

QAccessibleInterface* factory(const QString& className, QObject* object) {
    if (className == QLatin1String("kelvane::FolderMapView") && object != nullptr) {
        return new FolderMapAccessible(static_cast<FolderMapView*>(object));
    }
    return nullptr;
}

}  // namespace

FolderMapAccessible::FolderMapAccessible(FolderMapView* view)
    : QAccessibleWidget(view, QAccessible::List) {}

FolderMapAccessible::~FolderMapAccessible() {
    for (const auto& [index, id] : children_) QAccessible::deleteAccessibleInterface(id);
}

void FolderMapAccessible::install() {
    static const bool installed = [] {
        QAccessible::installFactory(factory);
        return true;
    }();
    (void)installed;
}

FolderMapView* FolderMapAccessible::view() const {
    return static_cast<FolderMapView*>(widget());
}

int FolderMapAccessible::childCount() const {
    return static_cast<int>(view()->tiles().size());
}

QAccessibleInterface* FolderMapAccessible::child(int index) const {
    if (index < 0 || index >= childCount()) return nullptr;
    if (const auto it = children_.find(index); it != children_.end()) {
        return QAccessible::accessibleInterface(it->second);
    }
    auto* tile = new TileAccessible(view(), index);
    children_[index] = QAccessible::registerAccessibleInterface(tile);
    return tile;
}

int FolderMapAccessible::indexOfChild(const QAccessibleInterface* child) const {
    for (const auto& [index, id] : children_) {
        if (QAccessible::accessibleInterface(id) == child) return index;
    }
    return -1;
}

QAccessibleInterface* FolderMapAccessible::childAt(int x, int y) const {
    const QPoint local = view()->mapFromGlobal(QPoint(x, y));
    for (std::size_t i = view()->tiles().size(); i-- > 0;) {
        const PixelRect& r = view()->tiles()[i].rect;
        if (r.contains(local.x(), local.y())) return child(static_cast<int>(i));
    }
    return nullptr;
}

QAccessibleInterface* FolderMapAccessible::focusChild() const {
    const auto current = view()->currentTile();
    return view()->hasFocus() && current ? child(static_cast<int>(*current)) : nullptr;
}

}  // namespace kelvane
