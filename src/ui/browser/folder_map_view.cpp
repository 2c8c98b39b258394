#include "ui/browser/folder_map_view.h"

#include <QAccessible>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QTimer>
#include <QToolTip>
#include <algorithm>

#include "core/fmt.h"
#include "core/path_text.h"
#include "model/folder_map.h"
#include "ui/app/model_bridge.h"
#include "ui/browser/browser_navigation.h"
#include "ui/browser/entry_context_menu.h"
#include "ui/browser/entry_list_model.h"
#include "ui/browser/folder_map_accessible.h"
#include "ui/browser/listing_empty_state.h"
#include "ui/components/display_text.h"
#include "ui/components/empty_state_panel.h"
#include "ui/components/growth_text.h"
#include "ui/components/palette_roles.h"

namespace kelvane {
namespace {

// Sizes land one by one while a folder is measured; drawing them in batches
// keeps the window responsive.
constexpr int kRelayoutDelayMs = 120;
// Room between the map and the screen's edges.
constexpr int kMargin = 6;

QRect toQt(const PixelRect& r) {
    return {r.x, r.y, r.width, r.height};
}

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < 128;
}

// Folders blue, files amber, merged tiles grey; deeper tiles step away from
// the background so nesting reads in both palettes.
QColor fillOf(const MapTile& tile, bool dark) {
    const int hue = tile.kind == MapTile::Kind::folder ? 214 - 8 * tile.depth : 34;
    const int saturation = tile.kind == MapTile::Kind::others ? 0 : (dark ? 90 : 140);
    const int lightness = dark ? 58 + 26 * tile.depth : 212 - 30 * tile.depth;
    return QColor::fromHsl(tile.kind == MapTile::Kind::others ? 0 : hue, saturation, lightness);
}

QColor textOn(const QColor& fill) {
    return fill.lightness() > 140 ? Qt::black : Qt::white;
}

}  // namespace

FolderMapView::FolderMapView(ModelBridge& bridge, QWidget* parent)
    : QWidget(parent),
      bridge_(bridge),
      emptyState_(new EmptyStatePanel(this)),
      relayoutTimer_(new QTimer(this)) {
    FolderMapAccessible::install();
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAccessibleName(QStringLiteral("マップ"));
    setFont(Typography::caption());
    emptyState_->setAttribute(Qt::WA_TransparentForMouseEvents);
    emptyState_->hide();
    relayoutTimer_->setSingleShot(true);
    relayoutTimer_->setInterval(kRelayoutDelayMs);
    connect(relayoutTimer_, &QTimer::timeout, this, [this] { relayout(); });
    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        switch (change.field) {
            case ModelField::entries:
                // A new listing moves items to other indices: lay out at once. A size that
                // landed in a row waits for the others.
                if (change.row) {
                    scheduleRelayout();
                } else {
                    stale_ = true;
                    if (isVisible()) relayout();
                }
                break;
            case ModelField::states:  // a scan recorded folders the map may nest
                scheduleRelayout();
                break;
            case ModelField::entrySelection:
                update();
                break;
            case ModelField::entriesLoading:
            case ModelField::entriesError:
                updateEmptyState();
                break;
            default:
                break;
        }
    });
    updateEmptyState();
}

void FolderMapView::scheduleRelayout() {
    // Hidden, the map is laid out when it shows again.
    if (!isVisible()) {
        stale_ = true;
    } else if (!relayoutTimer_->isActive()) {
        relayoutTimer_->start();
    }
}

void FolderMapView::relayout() {
    rebuild();
    update();
}

void FolderMapView::rebuild() {
    relayoutTimer_->stop();
    stale_ = false;
    const AppModel& model = bridge_.model();
    std::optional<std::string> current;
    if (current_ && *current_ < tiles_.size()) current = tiles_[*current_].path;
    MapStyle style;
    style.header = fontMetrics().height() + 4;
    tiles_ = FolderMap::build(
        model.entries(), [&model](const std::string& path) { return model.knownChildren(path); },
        {kMargin, kMargin, width() - 2 * kMargin, height() - 2 * kMargin}, style);
    std::set<std::string> seen;
    repeatedNames_.clear();
    for (const MapTile& tile : tiles_) {
        if (tile.depth == 0 && !tile.name.empty() && !seen.insert(tile.name).second) {
            repeatedNames_.insert(tile.name);
        }
    }
    // The keyboard stays on the same item when sizes move tiles around.
    current_.reset();
    for (std::size_t i = 0; current && i < tiles_.size(); ++i) {
        if (tiles_[i].depth == 0 && tiles_[i].path == *current) current_ = i;
    }
    updateEmptyState();
    QAccessibleEvent reorder(this, QAccessible::ObjectReorder);
    QAccessible::updateAccessibility(&reorder);
}

const Entry* FolderMapView::entryOf(std::size_t index) const {
    if (index >= tiles_.size()) return nullptr;
    const MapTile& tile = tiles_[index];
    const auto& entries = bridge_.model().entries();
    if (tile.entry >= entries.size()) return nullptr;
    const Entry& entry = entries[tile.entry];
    // Only while the listing is the one the tiles were made from.
    const bool same =
        tile.depth == 0 ? entry.path == tile.path : PathText::isSameOrBelow(tile.path, entry.path);
    return same ? &entry : nullptr;
}

QString FolderMapView::tileName(std::size_t index) const {
    const MapTile& tile = tiles_.at(index);
    if (tile.kind == MapTile::Kind::others) {
        return QStringLiteral("その他 (%1 項目)").arg(tile.merged);
    }
    if (tile.depth == 0 && repeatedNames_.count(tile.name) != 0) {
        // As the list does for such roots: the short path tells them apart, and eliding its
        // middle keeps the name and the folder just above it.
        return DisplayText::fromBytes(PathText::shortForm(tile.path, bridge_.model().home()));
    }
    return DisplayText::fromBytes(tile.name);
}

QString FolderMapView::tileSize(std::size_t index) const {
    return QString::fromStdString(Fmt::bytes(tiles_.at(index).bytes));
}

bool FolderMapView::tileSelected(std::size_t index) const {
    const Entry* entry = entryOf(index);
    return entry != nullptr && bridge_.model().entrySelection().count(entry->path) != 0;
}

std::optional<std::size_t> FolderMapView::tileAt(QPoint point) const {
    return FolderMap::tileAt(tiles_, point.x(), point.y());
}

void FolderMapView::paintEvent(QPaintEvent* event) {
    if (stale_) rebuild();
    QPainter painter(this);
    painter.fillRect(event->rect(), palette().color(QPalette::Base));
    const bool dark = isDark(palette());
    const QColor highlight = palette().color(QPalette::Highlight);
    const QFontMetrics metrics = fontMetrics();
    const int line = metrics.height();
    for (std::size_t i = 0; i < tiles_.size(); ++i) {
        const MapTile& tile = tiles_[i];
        const QRect r = toQt(tile.rect);
        if (!r.intersects(event->rect())) continue;
        QColor fill = fillOf(tile, dark);
        if (tileSelected(i)) {
            // The item and everything nested in it carry the selection colour.
            fill = tile.depth == 0 ? highlight
                                   : (dark ? highlight.lighter(100 + 25 * tile.depth)
                                           : highlight.lighter(115 + 20 * tile.depth));
        }
        // One pixel of background between neighbours draws the borders.
        painter.fillRect(r.adjusted(0, 0, -1, -1), fill);
        painter.setPen(textOn(fill));
        const QString name = tileName(i);
        const QString size = tileSize(i);
        if (!tile.inner.empty()) {
            // A folder showing what it holds: name and size in the strip above.
            const QRect strip(r.x() + 4, r.y() + 1, r.width() - 8, tile.inner.y - r.y() - 1);
            const QString text = name + QStringLiteral("  ") + size;
            painter.drawText(strip, Qt::AlignLeft | Qt::AlignVCenter,
                             metrics.elidedText(text, Qt::ElideMiddle, strip.width()));
        } else if (r.width() >= 36 && r.height() >= line + 4) {
            const QRect text = r.adjusted(4, 2, -5, -3);
            painter.drawText(QRect(text.x(), text.y(), text.width(), line),
                             Qt::AlignLeft | Qt::AlignVCenter,
                             metrics.elidedText(name, Qt::ElideMiddle, text.width()));
            if (text.height() >= 2 * line && metrics.horizontalAdvance(size) <= text.width()) {
                painter.drawText(QRect(text.x(), text.y() + line, text.width(), line),
                                 Qt::AlignLeft | Qt::AlignVCenter, size);
            }
        }
        if (current_ == i && hasFocus()) {
            QPen pen(textOn(fill), 1, Qt::DashLine);
            painter.setPen(pen);
            painter.drawRect(r.adjusted(2, 2, -4, -4));
        }
    }
    if (tiles_.empty() && !bridge_.model().entries().empty()) {
        // Listed, but nothing measured to draw yet (or only empty items).
        painter.setPen(PaletteRoles::secondaryText());
        painter.drawText(
            rect(), Qt::AlignCenter,
            bridge_.model().entriesLoading() ||
                    std::any_of(bridge_.model().entries().begin(), bridge_.model().entries().end(),
                                [](const Entry& e) { return !e.size; })
                ? QStringLiteral("サイズを計測しています…")
                : QStringLiteral("このフォルダの項目はどれも 0 バイトです。"));
    }
}

void FolderMapView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    emptyState_->setGeometry(rect());
    stale_ = true;
}

void FolderMapView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (stale_) relayout();
}

void FolderMapView::updateEmptyState() {
    showListingEmptyState(*emptyState_, bridge_.model());
}

void FolderMapView::select(std::size_t tile, Qt::KeyboardModifiers modifiers) {
    AppModel& model = bridge_.model();
    const Entry* entry = entryOf(tile);
    const bool extend = modifiers & (Qt::ControlModifier | Qt::ShiftModifier);
    if (entry == nullptr) {
        // The current folder's merged tile stands for no one item.
        if (!extend) model.setEntrySelection({});
        return;
    }
    std::set<std::string> selection = model.entrySelection();
    const auto& entries = model.entries();
    if ((modifiers & Qt::ShiftModifier) && anchor_) {
        // A range in the order the list shows, as a Shift click there makes.
        const auto from = std::find_if(entries.begin(), entries.end(),
                                       [&](const Entry& e) { return e.path == *anchor_; });
        if (from != entries.end()) {
            const auto to = entries.begin() + static_cast<std::ptrdiff_t>(tiles_[tile].entry);
            if (!(modifiers & Qt::ControlModifier)) selection.clear();
            for (auto it = std::min(from, to); it <= std::max(from, to); ++it)
                selection.insert(it->path);
            model.setEntrySelection(std::move(selection));
            return;
        }
    }
    if (modifiers & (Qt::ControlModifier | Qt::ShiftModifier)) {
        if (!selection.erase(entry->path)) selection.insert(entry->path);
    } else {
        selection = {entry->path};
    }
    anchor_ = entry->path;
    model.setEntrySelection(std::move(selection));
}

void FolderMapView::open(std::size_t tile) {
    const MapTile& t = tiles_.at(tile);
    if (t.kind != MapTile::Kind::folder || entryOf(tile) == nullptr) return;
    BrowserNavigation::open(bridge_.model(), t.path);
}

void FolderMapView::setCurrent(std::optional<std::size_t> tile) {
    current_ = tile;
    update();
    if (tile && hasFocus()) {
        QAccessibleEvent focus(this, QAccessible::Focus);
        focus.setChild(static_cast<int>(*tile));
        QAccessible::updateAccessibility(&focus);
    }
}

void FolderMapView::mousePressEvent(QMouseEvent* event) {
    setFocus(Qt::MouseFocusReason);
    const auto tile = tileAt(event->position().toPoint());
    if (event->button() != Qt::LeftButton) return;
    if (!tile) {
        if (!(event->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier)))
            bridge_.model().setEntrySelection({});
        return;
    }
    // The keyboard follows to the item the click was in.
    std::size_t top = *tile;
    while (top > 0 && tiles_[top].depth > 0) --top;
    setCurrent(top);
    select(*tile, event->modifiers());
}

void FolderMapView::mouseDoubleClickEvent(QMouseEvent* event) {
    const auto tile = tileAt(event->position().toPoint());
    if (event->button() == Qt::LeftButton && tile) open(*tile);
}

void FolderMapView::keyPressEvent(QKeyEvent* event) {
    using Direction = FolderMap::Direction;
    std::optional<Direction> move;
    switch (event->key()) {
        case Qt::Key_Left:
            move = Direction::left;
            break;
        case Qt::Key_Right:
            move = Direction::right;
            break;
        case Qt::Key_Up:
            move = Direction::up;
            break;
        case Qt::Key_Down:
            move = Direction::down;
            break;
        default:
            break;
    }
    if (move && !tiles_.empty()) {
        setCurrent(current_ ? FolderMap::neighbour(tiles_, *current_, *move) : 0);
        return;
    }
    if (event->key() == Qt::Key_Space && current_) {
        select(*current_, Qt::ControlModifier);
        return;
    }
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && current_) {
        open(*current_);
        return;
    }
    QWidget::keyPressEvent(event);
}

void FolderMapView::contextMenuEvent(QContextMenuEvent* event) {
    const auto tile =
        event->reason() == QContextMenuEvent::Keyboard ? current_ : tileAt(event->pos());
    const Entry* entry = tile ? entryOf(*tile) : nullptr;
    if (entry == nullptr) return;
    QMenu* menu = entryContextMenu(bridge_.model(), *entry, this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
}

void FolderMapView::focusInEvent(QFocusEvent* event) {
    QWidget::focusInEvent(event);
    if (!current_ && !tiles_.empty()) current_ = 0;
    setCurrent(current_);
}

bool FolderMapView::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(event);
        const auto tile = tileAt(help->pos());
        if (!tile) {
            QToolTip::hideText();
            return true;
        }
        QString text = tileName(*tile) + QLatin1Char('\n') + tileSize(*tile);
        if (const PlaceChange* change = bridge_.model().growthOf(tiles_[*tile].path)) {
            text += QStringLiteral("\n増減: ") + GrowthText::change(*change);
            if (const QString note = GrowthText::deletedNote(*change); !note.isEmpty())
                text += QStringLiteral("（") + note + QStringLiteral("）");
        }
        if (!tiles_[*tile].path.empty()) {
            text += QLatin1Char('\n') + DisplayText::fromBytes(PathText::shortForm(
                                            tiles_[*tile].path, bridge_.model().home()));
        }
        QToolTip::showText(help->globalPos(), text, this, toQt(tiles_[*tile].rect));
        return true;
    }
    return QWidget::event(event);
}

}  // namespace kelvane
