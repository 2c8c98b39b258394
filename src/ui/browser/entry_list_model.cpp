#include "ui/browser/entry_list_model.h"

#include <algorithm>
#include <functional>
#include <unordered_map>

#include "core/fmt.h"
#include "core/path_text.h"
#include "ui/app/model_bridge.h"
#include "ui/components/display_text.h"
#include "ui/components/growth_text.h"

namespace kelvane {

EntryListModel::EntryListModel(ModelBridge& bridge, QObject* parent)
    : QAbstractListModel(parent), bridge_(bridge) {
    remember();
    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::entries) entriesChanged(change);
        // New changes from the history: every row's "増減" may differ.
        if (change.field == ModelField::growth && rowCount() > 0)
            emit dataChanged(index(0), index(rowCount() - 1));
    });
}

void EntryListModel::remember() {
    const auto& entries = bridge_.model().entries();
    rowKeys_.resize(entries.size());
    const std::hash<std::string> hash;
    // Sorted by change, the largest item need not come first.
    maxSize_ = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        rowKeys_[i] = hash(entries[i].path);
        maxSize_ = std::max(maxSize_, entries[i].size.value_or(0));
    }
}

void EntryListModel::entriesChanged(const ModelChange& change) {
    const auto& entries = bridge_.model().entries();
    if (change.row && *change.row < rowKeys_.size() && entries.size() == rowKeys_.size()) {
        const int row = static_cast<int>(*change.row);
        const std::int64_t scale =
            std::max(maxSize_, entries[*change.row].size.value_or(std::int64_t{0}));
        if (scale != maxSize_) {
            // Every bar is drawn against the largest size.
            maxSize_ = scale;
            emit dataChanged(index(0), index(rowCount() - 1));
        } else {
            emit dataChanged(index(row), index(row));
        }
        return;
    }
    if (applyPermutation()) return;
    beginResetModel();
    remember();
    endResetModel();
}

bool EntryListModel::applyPermutation() {
    const auto& entries = bridge_.model().entries();
    const std::size_t count = entries.size();
    if (count == 0 || count != rowKeys_.size()) return false;

    std::unordered_map<std::size_t, int> oldRowOf;
    oldRowOf.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        // Two shown paths with one hash: too ambiguous to move rows by it.
        if (!oldRowOf.emplace(rowKeys_[i], static_cast<int>(i)).second) return false;
    }
    const std::hash<std::string> hash;
    std::vector<int> newRowOf(count, -1);
    std::vector<std::size_t> keys(count);
    bool moved = false;
    for (std::size_t i = 0; i < count; ++i) {
        keys[i] = hash(entries[i].path);
        const auto it = oldRowOf.find(keys[i]);
        if (it == oldRowOf.end() || newRowOf[static_cast<std::size_t>(it->second)] != -1)
            return false;
        newRowOf[static_cast<std::size_t>(it->second)] = static_cast<int>(i);
        moved = moved || it->second != static_cast<int>(i);
    }

    if (!moved) {
        // Same rows in the same places: only the values may differ.
        remember();
        emit dataChanged(index(0), index(static_cast<int>(count) - 1));
        return true;
    }
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList from = persistentIndexList();
    QModelIndexList to;
    to.reserve(from.size());
    for (const QModelIndex& old : from) {
        to.append(old.row() >= 0 && static_cast<std::size_t>(old.row()) < count
                      ? index(newRowOf[static_cast<std::size_t>(old.row())], old.column())
                      : QModelIndex());
    }
    changePersistentIndexList(from, to);
    rowKeys_ = std::move(keys);
    maxSize_ = entries.front().size.value_or(0);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
    return true;
}

int EntryListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rowKeys_.size());
}

const PlaceChange* EntryListModel::changeAt(int row) const {
    const Entry* entry = entryAt(row);
    return entry != nullptr ? bridge_.model().growthOf(entry->path) : nullptr;
}

const Entry* EntryListModel::entryAt(int row) const {
    const auto& entries = bridge_.model().entries();
    if (row < 0 || static_cast<std::size_t>(row) >= entries.size()) return nullptr;
    return &entries[static_cast<std::size_t>(row)];
}

std::int64_t EntryListModel::maxSize() const {
    return maxSize_;
}

int EntryListModel::rowOf(const std::string& path) const {
    const auto& entries = bridge_.model().entries();
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].path == path) return static_cast<int>(i);
    }
    return -1;
}

std::string EntryListModel::pathOf(const QModelIndex& index) {
    const QByteArray bytes = index.data(PathRole).toByteArray();
    return std::string(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

Qt::ItemFlags EntryListModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
}

QString EntryListModel::location(const Entry& entry) const {
    const AppModel& model = bridge_.model();
    if (model.browserPath()) return {};
    return DisplayText::fromBytes(PathText::shortForm(entry.path, model.home()));
}

QVariant EntryListModel::data(const QModelIndex& index, int role) const {
    const Entry* entry = entryAt(index.row());
    if (entry == nullptr || index.column() != 0) return {};
    switch (role) {
        case Qt::DisplayRole:
            return DisplayText::fromBytes(entry->name);
        case Qt::ToolTipRole: {
            const QString where = location(*entry);
            return where.isEmpty() ? DisplayText::fromBytes(entry->name) : where;
        }
        case LocationRole:
            return location(*entry);
        case Qt::AccessibleTextRole: {
            // What a screen reader says for the row: name, location, date and
            // size, the same pieces the row shows.
            QStringList parts{DisplayText::fromBytes(entry->name)};
            if (const QString where = location(*entry); !where.isEmpty()) parts << where;
            if (entry->modified) parts << QString::fromStdString(Fmt::date(entry->modified));
            if (entry->size) parts << QString::fromStdString(Fmt::bytes(*entry->size));
            if (const PlaceChange* change = bridge_.model().growthOf(entry->path))
                parts << QStringLiteral("増減 ") + GrowthText::change(*change);
            return parts.join(QStringLiteral(", "));
        }
        case Qt::AccessibleDescriptionRole:
            return isOpenable(*entry) ? QStringLiteral("中を見る") : QString();
        case PathRole:
            return pathBytes(entry->path);
        case SizeRole:
            return entry->size ? QVariant::fromValue<qint64>(*entry->size) : QVariant();
        case OpenableRole:
            return isOpenable(*entry);
        default:
            return {};
    }
}

}  // namespace kelvane
