#include "ui/overview/biggest_row.h"

#include <QHBoxLayout>
#include <QLabel>
#include <cmath>

#include "core/fmt.h"
#include "ui/components/palette_roles.h"
#include "ui/components/size_bar.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {

BiggestRow::BiggestRow(const CleanCategory& category, QWidget* parent)
    : RowButton(parent), id_(category.id) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(4, 3, 4, 3);
    row->setSpacing(6);
    const QColor risk = PaletteRoles::riskColor(category.risk);
    auto* icon = new QLabel(this);
    icon->setPixmap(SymbolIcons::tinted(category.icon, risk, 16));
    icon->setFixedWidth(18);
    icon->setAlignment(Qt::AlignCenter);
    row->addWidget(icon);
    name_ = StyledLabel::make(QString::fromStdString(category.name), Typography::body(),
                              PaletteRoles::primaryText(), this);
    name_->setMinimumWidth(40);
    row->addWidget(name_, 1);
    bar_ = new SizeBar(0, risk, this);
    bar_->setFixedWidth(80);
    row->addWidget(bar_);
    size_ = StyledLabel::make({}, Typography::body(), PaletteRoles::primaryText(), this);
    size_->setFixedWidth(80);
    size_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    row->addWidget(size_);
    passClicksThrough();
}

QString BiggestRow::nameText() const {
    return name_->text();
}
QString BiggestRow::sizeText() const {
    return size_->text();
}
double BiggestRow::fraction() const {
    return bar_->fraction();
}

void BiggestRow::setSize(std::int64_t bytes, double fraction) {
    const QString size = QString::fromStdString(Fmt::bytes(bytes));
    StyledLabel::setText(size_, size);
    bar_->setFraction(fraction);
    bar_->setAccessibleName(QStringLiteral("%1%").arg(std::lround(fraction * 100)));
    setText(name_->text());
    setAccessibleName(name_->text() + QStringLiteral(" ") + size);
}

}  // namespace kelvane
