#include "ui/sidebar/sidebar_model.h"

#include "core/catalog.h"
#include "core/fmt.h"
#include "ui/app/model_bridge.h"
#include "ui/components/display_text.h"
#include "ui/components/palette_roles.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {
namespace {

// Internal ids: 0 marks a top-level row, n > 0 a category in section n - 1.
constexpr quintptr kTopLevel = 0;

}  // namespace

SidebarModel::SidebarModel(ModelBridge& bridge, QObject* parent)
    : QAbstractItemModel(parent), bridge_(bridge) {
    rebuild();
    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::categories) {
            beginResetModel();
            rebuild();
            endResetModel();
        } else if (change.field == ModelField::states) {
            if (change.key) {
                categoryChanged(*change.key);
            } else {
                for (const CleanCategory& c : bridge_.model().categories()) categoryChanged(c.id);
            }
        }
    });
}

void SidebarModel::rebuild() {
    sections_.clear();
    const auto& categories = bridge_.model().categories();
    for (const std::string& group : Catalog::groupOrder()) {
        Section section{group, {}};
        for (std::size_t i = 0; i < categories.size(); ++i) {
            if (categories[i].group == group) section.categories.push_back(i);
        }
        if (!section.categories.empty()) sections_.push_back(std::move(section));
    }
}

void SidebarModel::categoryChanged(const std::string& id) {
    const QModelIndex at = indexForSelection(id);
    if (at.isValid()) emit dataChanged(at, at);
}

QModelIndex SidebarModel::index(int row, int column, const QModelIndex& parent) const {
    if (column != 0 || row < 0) return {};
    if (!parent.isValid()) {
        if (row > static_cast<int>(sections_.size())) return {};
        return createIndex(row, 0, kTopLevel);
    }
    if (parent.internalId() != kTopLevel || parent.row() == 0) return {};
    const auto sectionIndex = static_cast<std::size_t>(parent.row() - 1);
    if (static_cast<std::size_t>(row) >= sections_[sectionIndex].categories.size()) return {};
    return createIndex(row, 0, static_cast<quintptr>(sectionIndex + 1));
}

QModelIndex SidebarModel::parent(const QModelIndex& child) const {
    if (!child.isValid() || child.internalId() == kTopLevel) return {};
    return createIndex(static_cast<int>(child.internalId()), 0, kTopLevel);
}

int SidebarModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return static_cast<int>(sections_.size()) + 1;
    if (parent.internalId() != kTopLevel || parent.row() == 0) return 0;
    return static_cast<int>(
        sections_[static_cast<std::size_t>(parent.row() - 1)].categories.size());
}

int SidebarModel::columnCount(const QModelIndex&) const {
    return 1;
}

Qt::ItemFlags SidebarModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    if (index.internalId() == kTopLevel && index.row() > 0) return Qt::ItemIsEnabled;  // heading
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable;
}

QModelIndex SidebarModel::indexForSelection(const std::string& value) const {
    if (value == Catalog::kOverviewID) return index(0, 0);
    const auto& categories = bridge_.model().categories();
    for (std::size_t s = 0; s < sections_.size(); ++s) {
        const auto& members = sections_[s].categories;
        for (std::size_t r = 0; r < members.size(); ++r) {
            if (categories[members[r]].id == value) {
                return createIndex(static_cast<int>(r), 0, static_cast<quintptr>(s + 1));
            }
        }
    }
    return {};
}

QVariant SidebarModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    if (index.internalId() == kTopLevel) {
        if (index.row() == 0) {
            switch (role) {
                case Qt::DisplayRole:
                case Qt::AccessibleTextRole:
                    return QStringLiteral("概要");
                case Qt::DecorationRole:
                    return SymbolIcons::icon("gauge.with.dots.needle.33percent");
                case SelectionValueRole:
                    return QByteArray(Catalog::kOverviewID);
                case TrailingKindRole:
                    return static_cast<int>(none);
                default:
                    return {};
            }
        }
        const Section& section = sections_[static_cast<std::size_t>(index.row() - 1)];
        switch (role) {
            case Qt::DisplayRole:
            case Qt::AccessibleTextRole:
                return QString::fromStdString(section.group);
            case IsSectionRole:
                return true;
            default:
                return {};
        }
    }

    const Section& section = sections_[index.internalId() - 1];
    const AppModel& model = bridge_.model();
    const CleanCategory& category =
        model.categories()[section.categories[static_cast<std::size_t>(index.row())]];
    const CategoryState state = model.state(category.id);

    TrailingKind kind = chevron;
    QString trailing;
    if (category.kind == CategoryKind::folders) {
        switch (state.status) {
            case CategoryState::Status::idle:
                kind = idle;
                trailing = QStringLiteral("—");
                break;
            case CategoryState::Status::scanning:
                kind = scanning;
                trailing = QString::fromStdString(Fmt::bytes(state.bytes)) + QStringLiteral("…");
                break;
            case CategoryState::Status::done:
                kind = done;
                trailing = QString::fromStdString(Fmt::bytes(state.bytes));
                break;
            case CategoryState::Status::missing:
                kind = missing;
                trailing = QStringLiteral("なし");
                break;
        }
    }

    switch (role) {
        // An added folder's name is its path: bytes, shown the way the list shows names.
        case Qt::DisplayRole:
        case Qt::ToolTipRole:
            return DisplayText::fromBytes(category.name);
        case Qt::AccessibleTextRole:
            return trailing.isEmpty()
                       ? DisplayText::fromBytes(category.name)
                       : DisplayText::fromBytes(category.name) + QStringLiteral(", ") + trailing;
        case Qt::DecorationRole:
            return SymbolIcons::tinted(category.icon,
                                       model.isSavedScan(category.id)
                                           ? PaletteRoles::accent()
                                           : PaletteRoles::riskColor(category.risk),
                                       16);
        // The id holds the path's bytes: never through QString, or a name that is
        // not UTF-8 would select nothing.
        case SelectionValueRole:
            return QByteArray::fromStdString(category.id);
        case CategoryIdRole:
            return QByteArray::fromStdString(category.id);
        case TrailingTextRole:
            return trailing;
        case TrailingKindRole:
            return static_cast<int>(kind);
        case IsZeroSizeRole:
            return kind == done && state.bytes == 0;
        case RiskRole:
            return rawValue(category.risk);
        default:
            return {};
    }
}

}  // namespace kelvane
