#include "ui/components/empty_state_panel.h"

#include <QLabel>
#include <QVBoxLayout>

#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {

EmptyStatePanel::EmptyStatePanel(QWidget* parent) : QWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(8);
    layout->addStretch(1);
    symbol_ = new QLabel(this);
    symbol_->setAlignment(Qt::AlignCenter);
    title_ = StyledLabel::make({}, Typography::title3(), PaletteRoles::secondaryText(), this);
    title_->setFont(Typography::withWeight(Typography::title3(), QFont::DemiBold));
    title_->setAlignment(Qt::AlignCenter);
    title_->setWordWrap(true);
    description_ = StyledLabel::secondary({}, Typography::callout(), this);
    description_->setAlignment(Qt::AlignCenter);
    description_->setWordWrap(true);
    layout->addWidget(symbol_);
    layout->addWidget(title_);
    layout->addWidget(description_);
    layout->addStretch(1);
}

void EmptyStatePanel::setContent(const std::string& symbol, const QString& title,
                                 const QString& description) {
    symbol_->setPixmap(SymbolIcons::tinted(symbol, PaletteRoles::tertiaryText(), 40));
    StyledLabel::setText(title_, title);
    StyledLabel::setText(description_, description);
    setAccessibleName(title);
    setAccessibleDescription(description);
}

QString EmptyStatePanel::title() const {
    return title_->text();
}

QString EmptyStatePanel::description() const {
    return description_->text();
}

}  // namespace kelvane
