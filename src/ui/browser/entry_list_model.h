#pragma once

#include <QAbstractListModel>
#include <QByteArray>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/entry.h"
#include "core/growth.h"

namespace kelvane {

class ModelBridge;
struct ModelChange;

// The browser's listing as a Qt list model, read straight from
// AppModel::entries. Rows keep the model's order; a size arriving for one
// entry is one dataChanged, and a new order of the same entries (the final
// re-sort, or the same folder listed again) is one layout change that moves
// persistent indexes, so selection, current row and scroll position survive.
class EntryListModel : public QAbstractListModel {
    Q_OBJECT
  public:
    enum Role {
        // The entry's path exactly as listed (QByteArray): the row's identity.
        PathRole = Qt::UserRole + 1,
        // Allocated bytes (qint64), invalid while unknown.
        SizeRole,
        // True for a folder that is not a symbolic link: it can be opened.
        OpenableRole,
        // Where a root of the category's top level lives ("~", "~/…" or the
        // path), so two roots of one name can be told apart; empty inside a
        // folder, where every row shares the folder shown in the crumbs.
        LocationRole,
    };

    explicit EntryListModel(ModelBridge& bridge, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    // The entry shown in `row`, or null when there is none.
    const Entry* entryAt(int row) const;
    // How the entry in `row` changed since the comparison point; null where
    // the history knows nothing of it.
    const PlaceChange* changeAt(int row) const;
    // The scale of the size bars: the largest known size, 0 when none is known.
    std::int64_t maxSize() const;
    // The row showing `path`, or -1. Linear: for tests and single lookups.
    int rowOf(const std::string& path) const;

    static bool isOpenable(const Entry& entry) { return entry.isDir && !entry.isSymlink; }
    static QByteArray pathBytes(const std::string& path) {
        return QByteArray(path.data(), static_cast<qsizetype>(path.size()));
    }
    static std::string pathOf(const QModelIndex& index);

  private:
    QString location(const Entry& entry) const;
    void entriesChanged(const ModelChange& change);
    // Moves rows to their new places when the model's entries are the shown
    // ones in another order; false when they are not.
    bool applyPermutation();
    void remember();

    ModelBridge& bridge_;
    // What the views were last told: one hash per row's path, in row order.
    // Enough to recognise a permutation without copying the listing.
    std::vector<std::size_t> rowKeys_;
    std::int64_t maxSize_ = 0;
};

}  // namespace kelvane
