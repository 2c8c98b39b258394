#pragma once

#include <QWidget>

#include "core/category_state.h"
#include "core/clean_category.h"

class QCheckBox;
class QLabel;

namespace kelvane {

class Spinner;

// One category of the quick clean: its checkbox (symbol and name), a spinner
// while it is measured, and its size ("なし" when it does not exist here).
class QuickCleanRow : public QWidget {
    Q_OBJECT
  public:
    QuickCleanRow(const CleanCategory& category, QWidget* parent = nullptr);

    const std::string& id() const { return id_; }
    QCheckBox* checkBox() const { return check_; }
    QString sizeText() const;

    // Shows `state`; the box is usable only once the category is measured and
    // holds something.
    void setState(const CategoryState& state, bool ticked);

  signals:
    void toggled(const std::string& id, bool on);

  private:
    std::string id_;
    QCheckBox* check_;
    Spinner* spinner_;
    QLabel* size_;
};

}  // namespace kelvane
