#include "ui/overview/quick_clean_row.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>

#include "core/fmt.h"
#include "ui/components/palette_roles.h"
#include "ui/components/spinner.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {

QuickCleanRow::QuickCleanRow(const CleanCategory& category, QWidget* parent)
    : QWidget(parent), id_(category.id) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    const QString name = QString::fromStdString(category.name);
    check_ = new QCheckBox(name, this);
    check_->setIcon(
        QIcon(SymbolIcons::tinted(category.icon, PaletteRoles::riskColor(category.risk), 16)));
    check_->setIconSize({16, 16});
    check_->setAccessibleName(name);
    connect(check_, &QCheckBox::toggled, this, [this](bool on) { emit toggled(id_, on); });
    row->addWidget(check_);
    row->addStretch(1);
    spinner_ = new Spinner(12, this);
    row->addWidget(spinner_);
    size_ = StyledLabel::secondary({}, Typography::body(), this);
    size_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    row->addWidget(size_);
}

QString QuickCleanRow::sizeText() const {
    return size_->text();
}

void QuickCleanRow::setState(const CategoryState& state, bool ticked) {
    using Status = CategoryState::Status;
    {
        const QSignalBlocker quiet(check_);
        check_->setChecked(ticked);
    }
    check_->setEnabled(state.status == Status::done && state.bytes != 0);
    spinner_->setVisible(state.status == Status::scanning);
    const QString size = state.status == Status::missing
                             ? QStringLiteral("なし")
                             : QString::fromStdString(Fmt::bytes(state.bytes));
    StyledLabel::setText(size_, size);
    check_->setAccessibleDescription(size);
}

}  // namespace kelvane
