#pragma once

#include <QStyledItemDelegate>

namespace kelvane {

// Draws one sidebar row: section headings as small captions; the overview and
// category rows as symbol, name and the trailing element (size, "—", "なし",
// a running total with a spinner, or a chevron).
class SidebarDelegate : public QStyledItemDelegate {
    Q_OBJECT
  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    // Advances the spinners of scanning rows; the view calls it on a timer.
    void setPhase(int phase) { phase_ = phase; }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

  private:
    int phase_ = 0;
};

}  // namespace kelvane
