#pragma once

#include <QRect>
#include <QStyledItemDelegate>

namespace kelvane {

class EntryListModel;

// Paints one entry of the browser as a row: icon, name truncated in the
// middle, a link mark for symbolic links, where a top-level root lives, the
// date, a size bar against the biggest entry, the size (or a small spinner
// while it is measured) and, for folders, a chevron that opens them. Painting
// a row reads only that row, so a list of 100,000 entries costs what its
// visible rows cost.
class EntryRowDelegate : public QStyledItemDelegate {
    Q_OBJECT
  public:
    explicit EntryRowDelegate(const EntryListModel& model, QObject* parent = nullptr);

    // Where the pieces of a row go, from its full rectangle.
    struct Geometry {
        QRect icon;
        QRect text;  // name and link mark share this
        QRect date;
        QRect bar;
        QRect change;  // "増減"
        QRect size;
        QRect chevron;
    };
    static Geometry geometry(const QRect& row);
    static int rowHeight();

    // Advances the spinners of rows whose size is still being measured.
    void setSpinnerPhase(int degrees) { phase_ = degrees; }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

  private:
    const EntryListModel& model_;
    int phase_ = 0;
};

}  // namespace kelvane
