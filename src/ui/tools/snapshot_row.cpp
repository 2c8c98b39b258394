#include "ui/tools/snapshot_row.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {

SnapshotRow::SnapshotRow(std::string date, QWidget* parent)
    : QWidget(parent), date_(std::move(date)) {
    const QString text = QString::fromStdString(date_);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 4, 0, 4);
    auto* icon = new QLabel(this);
    icon->setPixmap(SymbolIcons::icon("clock.arrow.2.circlepath").pixmap(16, 16));
    row->addWidget(icon);
    row->addWidget(StyledLabel::make(text, Typography::body(), PaletteRoles::primaryText(), this));
    row->addStretch(1);
    auto* remove = new QPushButton(QStringLiteral("削除"), this);
    remove->setAccessibleDescription(text);
    connect(remove, &QPushButton::clicked, this, [this] { emit deleteRequested(date_); });
    row->addWidget(remove);
}

}  // namespace kelvane
