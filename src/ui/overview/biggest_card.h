#pragma once

#include <QList>
#include <cstdint>
#include <vector>

#include "core/clean_category.h"
#include "ui/components/card.h"

class QLabel;

namespace kelvane {

class AppModel;
class BiggestRow;
class ModelBridge;

// "容量の大きいカテゴリ": the six largest measured folder categories, bars
// scaled to the first; each row opens its category. Without any, it says
// whether scans are still under way or nothing was found. Below them, when
// scans met folders they could not read, how many: those sizes are missing
// from the figures, and only administrator rights could measure them.
class BiggestCard : public Card {
    Q_OBJECT
  public:
    explicit BiggestCard(ModelBridge& bridge, QWidget* parent = nullptr);

    // The measured folder categories outside the exploration groups, largest
    // first, equal sizes in list order, at most six.
    static std::vector<CleanCategory> biggest(const AppModel& model);

    const QList<BiggestRow*>& rows() const { return rows_; }
    QLabel* placeholder() const { return placeholder_; }
    QWidget* unreadableNote() const { return unreadableRow_; }
    QLabel* unreadableText() const { return unreadableText_; }

  private:
    // Folder categories outside the exploration groups: the ones ranked here.
    static bool ranked(const CleanCategory& category);
    // Whether an empty ranking may still fill: a ranked category is being
    // scanned, or none has been scanned yet.
    static bool stillLooking(const AppModel& model);
    void refresh();
    void refreshUnreadable();

    ModelBridge& bridge_;
    QLabel* placeholder_;
    QList<BiggestRow*> rows_;
    QWidget* unreadableRow_;
    QLabel* unreadableText_;
};

}  // namespace kelvane
