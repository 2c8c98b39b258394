#pragma once

#include <QAbstractButton>

namespace kelvane {

// A row of a card that opens something: its children only draw, the whole row
// takes the click and the keyboard focus, and it shades itself when pointed at,
// pressed or focused. Sized by the layout the subclass gives it.
class RowButton : public QAbstractButton {
    Q_OBJECT
  public:
    explicit RowButton(QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    // Call once the row's children exist: clicks on them reach the row.
    void passClicksThrough();
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace kelvane
