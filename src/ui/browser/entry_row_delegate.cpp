#include "ui/browser/entry_row_delegate.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>
#include <algorithm>

#include "core/fmt.h"
#include "ui/browser/entry_list_model.h"
#include "ui/components/display_text.h"
#include "ui/components/file_icon.h"
#include "ui/components/growth_text.h"
#include "ui/components/palette_roles.h"
#include "ui/components/size_bar.h"
#include "ui/components/spinner.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {
namespace {

// The list is inset: rows keep this much room to the view's edges, and the
// selection is a rounded box inside it.
constexpr int kInset = 8;
constexpr int kPadding = 8;
constexpr int kSpacing = 8;
constexpr int kDateWidth = 140;
constexpr int kChangeWidth = 110;
constexpr int kBarWidth = 90;
constexpr int kSizeWidth = 84;
constexpr int kChevronWidth = 20;
constexpr int kSpinner = 12;
constexpr int kLinkMark = 11;

}  // namespace

EntryRowDelegate::EntryRowDelegate(const EntryListModel& model, QObject* parent)
    : QStyledItemDelegate(parent), model_(model) {}

int EntryRowDelegate::rowHeight() {
    const QFontMetrics metrics(Typography::body());
    return std::max(FileIcon::kSize, metrics.height()) + 2 * 2 + 6;
}

EntryRowDelegate::Geometry EntryRowDelegate::geometry(const QRect& row) {
    const QRect inner = row.adjusted(kInset + kPadding, 0, -(kInset + kPadding), 0);
    Geometry g;
    int right = inner.right() + 1;
    const auto box = [&](int width) {
        const QRect r(right - width, inner.top(), width, inner.height());
        right -= width + kSpacing;
        return r;
    };
    g.chevron = box(kChevronWidth);
    g.size = box(kSizeWidth);
    g.bar = box(kBarWidth);
    g.change = box(kChangeWidth);
    g.date = box(kDateWidth);
    g.icon = QRect(inner.left(), inner.top() + (inner.height() - FileIcon::kSize) / 2,
                   FileIcon::kSize, FileIcon::kSize);
    const int textLeft = g.icon.right() + 1 + kSpacing;
    g.text = QRect(textLeft, inner.top(), std::max(0, right - textLeft + 1), inner.height());
    return g;
}

QSize EntryRowDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const {
    return {2 * (kInset + kPadding) + FileIcon::kSize + 120 + kDateWidth + kChangeWidth +
                kBarWidth + kSizeWidth + kChevronWidth + 6 * kSpacing,
            rowHeight()};
}

void EntryRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                             const QModelIndex& index) const {
    const Entry* entry = model_.entryAt(index.row());
    if (entry == nullptr) return;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);

    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const bool active = option.state.testFlag(QStyle::State_Active);
    const QPalette& palette = option.palette;
    const QRectF box = QRectF(option.rect).adjusted(kInset, 1, -kInset, -1);
    if (selected) {
        QPainterPath path;
        path.addRoundedRect(box, 6, 6);
        painter->fillPath(path, palette.color(active ? QPalette::Active : QPalette::Inactive,
                                              QPalette::Highlight));
    } else if (option.state.testFlag(QStyle::State_MouseOver)) {
        QPainterPath path;
        path.addRoundedRect(box, 6, 6);
        painter->fillPath(path, PaletteRoles::withOpacity(PaletteRoles::primaryText(), 0.05));
    }
    const QColor primary =
        selected ? palette.color(QPalette::HighlightedText) : PaletteRoles::primaryText();
    const QColor secondary =
        selected ? PaletteRoles::withOpacity(primary, 0.8) : PaletteRoles::secondaryText();
    const QColor tertiary =
        selected ? PaletteRoles::withOpacity(primary, 0.6) : PaletteRoles::tertiaryText();

    const Geometry g = geometry(option.rect);
    QPixmap icon = FileIcon::pixmap(entry->path, entry->isDir, entry->isSymlink, entry->isPackage);
    if (selected) icon = SymbolIcons::recoloured(icon, primary);  // the highlight hides its colours
    painter->drawPixmap(g.icon, icon);

    // Name, truncated in the middle so both the start and the extension stay.
    const QFont body = Typography::body();
    painter->setFont(body);
    const QFontMetrics metrics(body);
    const int markRoom = entry->isSymlink ? kLinkMark + 4 : 0;
    // A root of the top level also says where it lives; the name then keeps
    // at least half the room, the location takes what the name leaves.
    const QString location = index.data(EntryListModel::LocationRole).toString();
    const QFont caption = Typography::caption();
    int nameRoom = g.text.width() - markRoom;
    if (!location.isEmpty()) {
        const int wanted = QFontMetrics(caption).horizontalAdvance(location) + kSpacing;
        nameRoom = std::max(nameRoom / 2, nameRoom - wanted);
    }
    const QString name = metrics.elidedText(DisplayText::fromBytes(entry->name), Qt::ElideMiddle,
                                            std::max(0, nameRoom));
    painter->setPen(primary);
    painter->drawText(g.text, Qt::AlignLeft | Qt::AlignVCenter, name);
    int nameEnd = g.text.left() + metrics.horizontalAdvance(name);
    if (entry->isSymlink) {
        const QRect mark(nameEnd + 4, g.text.top() + (g.text.height() - kLinkMark) / 2, kLinkMark,
                         kLinkMark);
        painter->drawPixmap(mark,
                            SymbolIcons::tinted("arrow.turn.down.right", tertiary, kLinkMark));
        nameEnd = mark.right() + 1;
    }
    if (!location.isEmpty()) {
        // Shortened in the middle, so its start and its end both stay.
        const QRect room(nameEnd + kSpacing, g.text.top(),
                         std::max(0, g.text.right() + 1 - nameEnd - kSpacing), g.text.height());
        painter->setFont(caption);
        painter->setPen(secondary);
        painter->drawText(
            room, Qt::AlignLeft | Qt::AlignVCenter,
            QFontMetrics(caption).elidedText(location, Qt::ElideMiddle, room.width()));
    }

    painter->setFont(caption);
    painter->setPen(secondary);
    painter->drawText(g.date, Qt::AlignRight | Qt::AlignVCenter,
                      QString::fromStdString(Fmt::date(entry->modified)));

    // "増減": blank where the history knows nothing of the item.
    if (const PlaceChange* change = model_.changeAt(index.row())) {
        painter->setPen(selected ? primary : GrowthText::color(*change));
        painter->drawText(g.change, Qt::AlignRight | Qt::AlignVCenter,
                          QFontMetrics(caption).elidedText(GrowthText::change(*change),
                                                           Qt::ElideLeft, g.change.width()));
    }

    const std::int64_t scale = model_.maxSize();
    const double fraction =
        scale >= 1 ? static_cast<double>(entry->size.value_or(0)) / static_cast<double>(scale) : 0;
    SizeBar::paint(*painter, QRectF(g.bar), fraction, selected ? primary : PaletteRoles::accent());

    if (entry->size) {
        painter->setFont(body);
        painter->setPen(primary);
        painter->drawText(g.size, Qt::AlignRight | Qt::AlignVCenter,
                          QString::fromStdString(Fmt::bytes(*entry->size)));
    } else {
        const QRectF spin(g.size.right() + 1 - kSpinner,
                          g.size.top() + (g.size.height() - kSpinner) / 2.0, kSpinner, kSpinner);
        Spinner::paint(*painter, spin, phase_, secondary);
    }

    if (EntryListModel::isOpenable(*entry)) {
        constexpr int kChevron = 14;
        const QRect chevron(g.chevron.left() + (g.chevron.width() - kChevron) / 2,
                            g.chevron.top() + (g.chevron.height() - kChevron) / 2, kChevron,
                            kChevron);
        painter->drawPixmap(chevron, SymbolIcons::tinted("chevron.right", secondary, kChevron));
    }
    painter->restore();
}

bool EntryRowDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                 const QStyleOptionViewItem& option, const QModelIndex& index) {
    if (event->type() == QEvent::ToolTip && geometry(option.rect).change.contains(event->pos())) {
        if (const PlaceChange* change = model_.changeAt(index.row())) {
            QString text = QStringLiteral("増減: ") + GrowthText::change(*change);
            if (const QString note = GrowthText::deletedNote(*change); !note.isEmpty())
                text += QStringLiteral("\n") + note;
            QToolTip::showText(event->globalPos(), text, view);
            return true;
        }
    }
    if (event->type() == QEvent::ToolTip && index.data(EntryListModel::OpenableRole).toBool() &&
        geometry(option.rect).chevron.contains(event->pos())) {
        QToolTip::showText(event->globalPos(), QStringLiteral("中を見る"), view);
        return true;
    }
    return QStyledItemDelegate::helpEvent(event, view, option, index);
}

}  // namespace kelvane
