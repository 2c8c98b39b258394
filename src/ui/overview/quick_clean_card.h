#pragma once

#include <QList>
#include <cstdint>
#include <set>
#include <string>

#include "ui/components/card.h"

class QLabel;
class QPushButton;

namespace kelvane {

class ModelBridge;
class QuickCleanRow;

// "クイッククリーン": a checkbox per quick-clean category, the total of the
// ticked ones and the button that asks to delete them. The ticked set is this
// card's own state and lives only as long as the overview that shows it.
class QuickCleanCard : public Card {
    Q_OBJECT
  public:
    explicit QuickCleanCard(ModelBridge& bridge, QWidget* parent = nullptr);

    // Ticks every quick-clean category when nothing is ticked, whatever its
    // state: the overview calls this each time it appears.
    void tickAllIfEmpty();

    const std::set<std::string>& selection() const { return selection_; }
    // The bytes of the ticked categories, scanned or not.
    std::int64_t total() const;

    const QList<QuickCleanRow*>& rows() const { return rows_; }
    QLabel* totalLabel() const { return totalLabel_; }
    QPushButton* deleteButton() const { return delete_; }

  private:
    void rebuildRows();
    void refreshRow(const std::string& id);
    void refreshTotal();

    ModelBridge& bridge_;
    std::set<std::string> selection_;
    QWidget* rowsBox_;
    QList<QuickCleanRow*> rows_;
    QLabel* totalLabel_;
    QPushButton* delete_;
};

}  // namespace kelvane
