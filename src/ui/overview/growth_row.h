#pragma once

#include <string>

#include "core/growth.h"
#include "ui/components/row_button.h"

class QLabel;

namespace kelvane {

// One row of "増えた場所": the place (a folder, or a whole category), the
// category and the date it is compared with, its change and its size now. The
// whole row is a plain button that opens the place in the browser.
class GrowthRowButton : public RowButton {
    Q_OBJECT
  public:
    // `title` names the place, `detail` the category and the date compared with.
    GrowthRowButton(const GrowthRow& row, const std::string& icon, const QString& title,
                    const QString& detail, QWidget* parent = nullptr);

    const GrowthRow& row() const { return row_; }
    QString titleText() const;
    QString changeText() const;

  private:
    GrowthRow row_;
    QLabel* title_;
    QLabel* change_;
};

}  // namespace kelvane
