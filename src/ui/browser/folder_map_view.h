#pragma once

#include <QWidget>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "model/map_tile.h"

class QTimer;

namespace kelvane {

class EmptyStatePanel;
class ModelBridge;
struct Entry;

// The browser's map: a treemap of the current folder over the same model
// state as the list. Its selection is the model's entrySelection (a click
// selects, Ctrl and Shift extend), a double click opens a folder, the context
// menu is the list's, and arrows, Return and Space work from the keyboard.
// Sizes that land while a scan runs are gathered and drawn together.
class FolderMapView : public QWidget {
    Q_OBJECT
  public:
    explicit FolderMapView(ModelBridge& bridge, QWidget* parent = nullptr);

    const std::vector<MapTile>& tiles() const { return tiles_; }
    // The tile that has the keyboard's attention, an index into tiles().
    std::optional<std::size_t> currentTile() const { return current_; }
    // Lays the tiles out again from the model, now.
    void relayout();
    // The words a tile is read out and hovered with: its name (or "その他 (N 項目)")
    // and size.
    QString tileName(std::size_t index) const;
    QString tileSize(std::size_t index) const;
    bool tileSelected(std::size_t index) const;
    // The model's item a tile stands for, if any.
    const Entry* entryOf(std::size_t index) const;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    bool event(QEvent* event) override;

  private:
    void scheduleRelayout();
    // Lays the tiles out without asking for a paint (paintEvent calls it).
    void rebuild();
    void select(std::size_t tile, Qt::KeyboardModifiers modifiers);
    void open(std::size_t tile);
    void setCurrent(std::optional<std::size_t> tile);
    void updateEmptyState();
    std::optional<std::size_t> tileAt(QPoint point) const;

    ModelBridge& bridge_;
    EmptyStatePanel* emptyState_;
    QTimer* relayoutTimer_;
    std::vector<MapTile> tiles_;
    // Names that several top-level tiles share (each Flatpak app's "cache" among a category's
    // roots): those tiles are labelled with where they are.
    std::set<std::string> repeatedNames_;
    std::optional<std::size_t> current_;
    // The item a Shift click extends the selection from.
    std::optional<std::string> anchor_;
    // Set when the tiles no longer fit the listing or the size: laid out again before the
    // next paint.
    bool stale_ = true;
};

}  // namespace kelvane
