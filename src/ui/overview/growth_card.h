#pragma once

#include <QList>

#include "ui/components/card.h"

class QComboBox;
class QLabel;

namespace kelvane {

class GrowthRowButton;
class ModelBridge;

// "増えた場所": the categories and folders that changed most since the chosen
// point ("前回", "1 週間前", "1 か月前"), growth first and shrinking and new
// places marked; a row opens its place. Until the history holds something to
// compare, it says when it will.
class GrowthCard : public Card {
    Q_OBJECT
  public:
    explicit GrowthCard(ModelBridge& bridge, QWidget* parent = nullptr);

    QComboBox* pointChooser() const { return point_; }
    QLabel* placeholder() const { return placeholder_; }
    const QList<GrowthRowButton*>& rows() const { return rows_; }

  private:
    void refresh();

    ModelBridge& bridge_;
    QComboBox* point_;
    QLabel* placeholder_;
    QList<GrowthRowButton*> rows_;
};

}  // namespace kelvane
