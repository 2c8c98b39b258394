#pragma once

#include <QList>
#include <QScrollArea>

class QLabel;
class QVBoxLayout;

namespace kelvane {

// A scrolling list of widget rows on a rounded, inset background, with thin
// dividers between rows. Holds few rows (snapshots, runtimes), so each change
// replaces them all.
class InsetList : public QScrollArea {
    Q_OBJECT
  public:
    explicit InsetList(QWidget* parent = nullptr);

    // Removes every row.
    void clear();
    // Appends `row`, which the list takes over.
    void addRow(QWidget* row);
    // The single row "取得中…" with a spinner.
    void showLoading();
    // A single row of secondary text.
    void showMessage(const QString& text);

    const QList<QWidget*>& rows() const { return rows_; }

  private:
    QWidget* panel_;
    QVBoxLayout* layout_;
    QList<QWidget*> rows_;
    QList<QWidget*> dividers_;
};

}  // namespace kelvane
