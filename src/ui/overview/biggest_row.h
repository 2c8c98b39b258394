#pragma once

#include <cstdint>
#include <string>

#include "core/clean_category.h"
#include "ui/components/row_button.h"

class QLabel;

namespace kelvane {

class SizeBar;

// One row of the biggest-categories card: the category's symbol and name, a
// bar scaled to the largest category and its size. The whole row is a plain
// button that opens the category.
class BiggestRow : public RowButton {
    Q_OBJECT
  public:
    explicit BiggestRow(const CleanCategory& category, QWidget* parent = nullptr);

    const std::string& id() const { return id_; }
    QString nameText() const;
    QString sizeText() const;
    double fraction() const;

    void setSize(std::int64_t bytes, double fraction);

  private:
    std::string id_;
    QLabel* name_;
    SizeBar* bar_;
    QLabel* size_;
};

}  // namespace kelvane
