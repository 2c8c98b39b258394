#include "ui/components/inset_list.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "ui/components/palette_roles.h"
#include "ui/components/spinner.h"
#include "ui/components/styled_label.h"

namespace kelvane {

InsetList::InsetList(QWidget* parent) : QScrollArea(parent) {
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* page = new QWidget(this);
    auto* pageLayout = new QVBoxLayout(page);
    pageLayout->setContentsMargins(16, 12, 16, 12);
    panel_ = new QFrame(page);
    panel_->setObjectName(QStringLiteral("insetPanel"));
    panel_->setStyleSheet(
        QStringLiteral("#insetPanel { background: %1; border: 1px solid %2; border-radius: 10px; }")
            .arg(StyledLabel::css(palette().color(QPalette::Base)),
                 StyledLabel::css(PaletteRoles::withOpacity(PaletteRoles::primaryText(), 0.08))));
    layout_ = new QVBoxLayout(panel_);
    layout_->setContentsMargins(12, 6, 12, 6);
    layout_->setSpacing(0);
    pageLayout->addWidget(panel_);
    pageLayout->addStretch(1);
    setWidget(page);
}

void InsetList::clear() {
    qDeleteAll(rows_);
    qDeleteAll(dividers_);
    rows_.clear();
    dividers_.clear();
}

void InsetList::addRow(QWidget* row) {
    if (!rows_.isEmpty()) {
        auto* divider = new QFrame(panel_);
        divider->setFrameShape(QFrame::HLine);
        divider->setFrameShadow(QFrame::Plain);
        divider->setStyleSheet(QStringLiteral("color: %1;")
                                   .arg(StyledLabel::css(PaletteRoles::withOpacity(
                                       PaletteRoles::primaryText(), 0.1))));
        layout_->addWidget(divider);
        dividers_.append(divider);
    }
    row->setParent(panel_);
    layout_->addWidget(row);
    row->show();
    rows_.append(row);
}

void InsetList::showLoading() {
    clear();
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 6, 0, 6);
    layout->addWidget(new Spinner(14, row));
    layout->addWidget(StyledLabel::make(QStringLiteral("取得中…"), Typography::body(),
                                        PaletteRoles::primaryText(), row));
    layout->addStretch(1);
    addRow(row);
}

void InsetList::showMessage(const QString& text) {
    clear();
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 6, 0, 6);
    auto* label = StyledLabel::secondary(text, Typography::body(), row);
    label->setWordWrap(true);
    layout->addWidget(label, 1);
    addRow(row);
}

}  // namespace kelvane
