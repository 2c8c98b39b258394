#include "ui/tools/tool_screen.h"

#include <QAction>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "ui/components/inset_list.h"
#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"
#include "ui/tools/tool_title_row.h"

namespace kelvane {

ToolScreen::ToolScreen(ModelBridge& bridge, CleanCategory category, std::function<void()> reload,
                       QWidget* parent)
    : Screen(bridge, parent), category_(std::move(category)) {
    const QString name = QString::fromStdString(category_.name);
    setWindowTitle(name);
    setAccessibleName(name);
    auto* stack = new QVBoxLayout(this);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(0);

    header_ = new QWidget(this);
    headerLayout_ = new QHBoxLayout(header_);
    headerLayout_->setContentsMargins(16, 16, 16, 16);
    headerLayout_->setSpacing(16);
    stack->addWidget(header_);

    auto* divider = new QFrame(this);
    divider->setFrameShape(QFrame::HLine);
    divider->setFrameShadow(QFrame::Plain);
    stack->addWidget(divider);
    list_ = new InsetList(this);
    stack->addWidget(list_, 1);

    reload_ = new QAction(SymbolIcons::icon("arrow.clockwise"), QStringLiteral("更新"), this);
    connect(reload_, &QAction::triggered, this, std::move(reload));
}

QList<QAction*> ToolScreen::toolbarActions() const {
    return {reload_};
}

QVBoxLayout* ToolScreen::describedTitle(const QString& explanation, QWidget* trailing) {
    auto* column = new QVBoxLayout;
    column->setSpacing(8);
    auto* titleLine = new QHBoxLayout;
    titleLine->addWidget(new ToolTitleRow(category_, header_), 1);
    if (trailing != nullptr) titleLine->addWidget(trailing);
    column->addLayout(titleLine);
    auto* detail = StyledLabel::secondary(QString::fromStdString(category_.detail),
                                          Typography::body(), header_);
    detail->setWordWrap(true);
    column->addWidget(detail);
    auto* note = StyledLabel::secondary(explanation, Typography::caption(), header_);
    note->setWordWrap(true);
    column->addWidget(note);
    return column;
}

}  // namespace kelvane
