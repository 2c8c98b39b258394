#include "ui/tools/tool_title_row.h"

#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLabel>

#include "ui/components/palette_roles.h"
#include "ui/components/risk_badge.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {

ToolTitleRow::ToolTitleRow(const CleanCategory& category, QWidget* parent) : QWidget(parent) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    const QFont title = Typography::title2();
    // The symbol stands as tall as the title's letters.
    const int symbolSize = QFontMetrics(title).ascent() + 2;
    auto* icon = new QLabel(this);
    icon->setPixmap(
        SymbolIcons::tinted(category.icon, PaletteRoles::riskColor(category.risk), symbolSize));
    row->addWidget(icon);
    row->addWidget(StyledLabel::make(QString::fromStdString(category.name),
                                     Typography::withWeight(title, QFont::DemiBold),
                                     PaletteRoles::primaryText(), this));
    row->addWidget(new RiskBadge(category.risk, this), 0, Qt::AlignVCenter);
    row->addStretch(1);
}

}  // namespace kelvane
