#pragma once

#include <QAccessibleWidget>
#include <map>

namespace kelvane {

class FolderMapView;

// What a screen reader finds in the map: a list whose items are the tiles,
// each read as its name and size, selected with the item it stands for, and
// focused where the arrow keys are.
class FolderMapAccessible : public QAccessibleWidget {
  public:
    explicit FolderMapAccessible(FolderMapView* view);
    ~FolderMapAccessible() override;

    // Makes Qt use this for every map; once per process is enough.
    static void install();

    int childCount() const override;
    QAccessibleInterface* child(int index) const override;
    int indexOfChild(const QAccessibleInterface* child) const override;
    QAccessibleInterface* childAt(int x, int y) const override;
    QAccessibleInterface* focusChild() const override;

  private:
    FolderMapView* view() const;

    // One interface per tile index, made when first asked for and kept, as Qt wants.
    mutable std::map<int, QAccessible::Id> children_;
};

}  // namespace kelvane
