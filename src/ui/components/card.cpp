#include "ui/components/card.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

#include "ui/components/palette_roles.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {

Card::Card(const QString& title, std::optional<std::string> systemImage, QWidget* parent)
    : QFrame(parent) {
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(16, 16, 16, 16);
    outer->setSpacing(12);
    auto* header = new QHBoxLayout;
    header->setSpacing(6);
    if (systemImage) {
        auto* icon = new QLabel(this);
        icon->setPixmap(SymbolIcons::tinted(*systemImage, PaletteRoles::secondaryText(), 16));
        header->addWidget(icon);
    }
    auto* heading = new QLabel(title, this);
    heading->setFont(Typography::headline());
    heading->setAccessibleName(title);
    header->addWidget(heading);
    header->addStretch(1);
    outer->addLayout(header);
    content_ = new QVBoxLayout;
    content_->setSpacing(8);
    outer->addLayout(content_);
    setAccessibleName(title);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
}

void Card::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF r = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setBrush(PaletteRoles::withOpacity(palette().color(QPalette::Base), 0.6));
    painter.setPen(QPen(PaletteRoles::withOpacity(PaletteRoles::primaryText(), 0.08), 1));
    painter.drawRoundedRect(r, 12, 12);
}

}  // namespace kelvane
