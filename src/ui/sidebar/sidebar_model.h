#pragma once

#include <QAbstractItemModel>
#include <string>
#include <vector>

namespace kelvane {

class ModelBridge;

// The sidebar as a two-level item model: the overview row and one row per
// non-empty section at the top, the section's categories below it. A state
// change repaints only that category's row.
class SidebarModel : public QAbstractItemModel {
    Q_OBJECT
  public:
    enum Role {
        SelectionValueRole = Qt::UserRole + 1,  // "__overview__" or the category id (bytes)
        IsSectionRole,
        TrailingTextRole,  // the size, "—", "なし" or "" for the chevron
        TrailingKindRole,  // one of TrailingKind
        IsZeroSizeRole,    // a done category of 0 bytes (drawn fainter)
        RiskRole,          // the risk's raw value
        CategoryIdRole,    // the category id as bytes (QByteArray)
    };
    enum TrailingKind { chevron, idle, scanning, done, missing, none };

    explicit SidebarModel(ModelBridge& bridge, QObject* parent = nullptr);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    // The index whose selection value is `value`, or an invalid index.
    QModelIndex indexForSelection(const std::string& value) const;

  private:
    struct Section {
        std::string group;
        std::vector<std::size_t> categories;  // positions in the model's category list
    };

    void rebuild();
    void categoryChanged(const std::string& id);

    ModelBridge& bridge_;
    std::vector<Section> sections_;
};

}  // namespace kelvane
