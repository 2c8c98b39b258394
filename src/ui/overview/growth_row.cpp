#include "ui/overview/growth_row.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "core/fmt.h"
#include "ui/components/growth_text.h"
#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {

GrowthRowButton::GrowthRowButton(const GrowthRow& row, const std::string& icon,
                                 const QString& title, const QString& detail, QWidget* parent)
    : RowButton(parent), row_(row) {
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(4, 3, 4, 3);
    line->setSpacing(8);
    const QColor color = GrowthText::color(row.change);
    auto* symbol = new QLabel(this);
    symbol->setPixmap(SymbolIcons::tinted(icon, color, 16));
    symbol->setFixedWidth(18);
    symbol->setAlignment(Qt::AlignCenter);
    line->addWidget(symbol);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(0);
    title_ = StyledLabel::make(title, Typography::body(), PaletteRoles::primaryText(), this);
    title_->setMinimumWidth(40);
    texts->addWidget(title_);
    QString below = detail;
    if (const QString note = GrowthText::deletedNote(row.change); !note.isEmpty())
        below += QStringLiteral(" · ") + note;
    auto* secondary = StyledLabel::secondary(below, Typography::caption(), this);
    secondary->setMinimumWidth(40);
    texts->addWidget(secondary);
    line->addLayout(texts, 1);

    change_ =
        StyledLabel::make(GrowthText::change(row.change),
                          Typography::withWeight(Typography::body(), QFont::DemiBold), color, this);
    change_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    line->addWidget(change_);
    const QString now =
        row.change.now ? QString::fromStdString(Fmt::bytes(*row.change.now)) : QStringLiteral("—");
    auto* size = StyledLabel::secondary(now, Typography::body(), this);
    size->setMinimumWidth(80);
    size->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    size->setToolTip(QStringLiteral("現在のサイズ"));
    line->addWidget(size);
    passClicksThrough();
    setText(title);
    setAccessibleName(title + QStringLiteral(" ") + change_->text() + QStringLiteral("、現在 ") +
                      now);
    setAccessibleDescription(below);
}

QString GrowthRowButton::titleText() const {
    return title_->text();
}

QString GrowthRowButton::changeText() const {
    return change_->text();
}

}  // namespace kelvane
