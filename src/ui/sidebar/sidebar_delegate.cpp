#include "ui/sidebar/sidebar_delegate.h"

#include <QApplication>
#include <QPainter>

#include "ui/components/palette_roles.h"
#include "ui/components/spinner.h"
#include "ui/components/symbol_icons.h"
#include "ui/sidebar/sidebar_model.h"

namespace kelvane {
namespace {

constexpr int kPaddingX = 8;
constexpr int kSpacing = 8;
constexpr int kIconBox = 20;

}  // namespace

QSize SidebarDelegate::sizeHint(const QStyleOptionViewItem& option,
                                const QModelIndex& index) const {
    const QFontMetrics metrics(option.font);
    if (index.data(SidebarModel::IsSectionRole).toBool()) return {100, metrics.height() + 14};
    return {100, std::max(metrics.height(), kIconBox) + 10};
}

void SidebarDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const {
    painter->save();
    const QRect area = option.rect.adjusted(kPaddingX, 0, -kPaddingX, 0);

    if (index.data(SidebarModel::IsSectionRole).toBool()) {
        painter->setFont(Typography::withWeight(Typography::caption(), QFont::DemiBold));
        painter->setPen(PaletteRoles::secondaryText());
        painter->drawText(area.adjusted(0, 6, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                          index.data(Qt::DisplayRole).toString());
        painter->restore();
        return;
    }

    // Selection and hover backgrounds from the style, without its text.
    QStyleOptionViewItem background = option;
    initStyleOption(&background, index);
    background.text.clear();
    background.icon = QIcon();
    const QWidget* widget = option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &background, painter, widget);

    const bool selected = option.state & QStyle::State_Selected;
    const QColor text = selected ? option.palette.color(QPalette::HighlightedText)
                                 : option.palette.color(QPalette::Text);
    const auto secondary = [&](double opacity) {
        return selected ? text
                        : PaletteRoles::withOpacity(option.palette.color(QPalette::Text), opacity);
    };

    // 1. symbol
    const QRect iconBox(area.left(), area.top(), kIconBox, area.height());
    const QVariant decoration = index.data(Qt::DecorationRole);
    QPixmap symbol = decoration.canConvert<QPixmap>() ? decoration.value<QPixmap>()
                                                      : decoration.value<QIcon>().pixmap(16, 16);
    if (selected) symbol = SymbolIcons::recoloured(symbol, text);  // the highlight hides its tint
    if (!symbol.isNull()) {
        const QSize logical = symbol.deviceIndependentSize().toSize();
        painter->drawPixmap(iconBox.center().x() - logical.width() / 2,
                            iconBox.center().y() - logical.height() / 2, symbol);
    }

    // 4. trailing element, laid out from the right edge
    const auto kind =
        static_cast<SidebarModel::TrailingKind>(index.data(SidebarModel::TrailingKindRole).toInt());
    const QString trailing = index.data(SidebarModel::TrailingTextRole).toString();
    int right = area.right();
    if (kind == SidebarModel::chevron) {
        const int size = 12;
        const QPixmap chevron = SymbolIcons::tinted("chevron.right", secondary(0.38), size);
        painter->drawPixmap(right - size, area.center().y() - size / 2, chevron);
        right -= size + 4;
    } else if (kind != SidebarModel::none) {
        painter->setFont(option.font);
        const double opacity = (kind == SidebarModel::idle || kind == SidebarModel::missing ||
                                index.data(SidebarModel::IsZeroSizeRole).toBool())
                                   ? 0.38
                                   : 0.62;
        painter->setPen(secondary(opacity));
        const int width = painter->fontMetrics().horizontalAdvance(trailing);
        painter->drawText(QRect(right - width, area.top(), width, area.height()),
                          Qt::AlignRight | Qt::AlignVCenter, trailing);
        right -= width;
        if (kind == SidebarModel::scanning) {
            const int size = 12;
            right -= 4 + size;
            Spinner::paint(*painter, QRectF(right, area.center().y() - size / 2.0, size, size),
                           phase_, secondary(0.62));
        }
        right -= 4;
    }

    // 2. name, one line, elided to what the trailing element leaves
    const int nameLeft = iconBox.right() + kSpacing;
    painter->setFont(option.font);
    painter->setPen(text);
    const QRect nameBox(nameLeft, area.top(), std::max(0, right - nameLeft), area.height());
    const QString name = painter->fontMetrics().elidedText(index.data(Qt::DisplayRole).toString(),
                                                           Qt::ElideRight, nameBox.width());
    painter->drawText(nameBox, Qt::AlignLeft | Qt::AlignVCenter, name);
    painter->restore();
}

}  // namespace kelvane
