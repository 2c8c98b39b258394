#include "ui/overview/overview_view.h"

#include <QBoxLayout>
#include <QHBoxLayout>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>

#include "ui/app/model_bridge.h"
#include "ui/overview/biggest_card.h"
#include "ui/overview/disk_card.h"
#include "ui/overview/growth_card.h"
#include "ui/overview/log_card.h"
#include "ui/overview/quick_clean_card.h"
#include "ui/overview/tools_card.h"

namespace kelvane {

namespace {
constexpr int kMaximumWidth = 1100;
}  // namespace

OverviewView::OverviewView(ModelBridge& bridge, QWidget* parent) : Screen(bridge, parent) {
    setWindowTitle(QStringLiteral("概要"));
    setAccessibleName(QStringLiteral("概要"));
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* scroll = scroll_ = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    outer->addWidget(scroll);

    auto* page = new QWidget(scroll);
    auto* pageLayout = new QHBoxLayout(page);
    pageLayout->setContentsMargins(24, 24, 24, 24);
    // On a wide window the column keeps its maximum width at the leading edge.
    auto* column = new QWidget(page);
    column->setMaximumWidth(kMaximumWidth);
    pageLayout->addWidget(column, 1, Qt::AlignTop);
    pageLayout->addStretch(0);
    scroll->setWidget(page);

    auto* stack = new QVBoxLayout(column);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(16);
    disk_ = new DiskCard(bridge_, column);
    stack->addWidget(disk_);
    // What filled the disk lately, right below how full it is; only where
    // measurements are remembered.
    if (bridge_.model().historyAvailable()) {
        growth_ = new GrowthCard(bridge_, column);
        stack->addWidget(growth_);
    }

    auto* middle = middle_ = new QBoxLayout(QBoxLayout::LeftToRight);
    middle->setSpacing(16);
    quickClean_ = new QuickCleanCard(bridge_, column);
    middle->addWidget(quickClean_, 1, Qt::AlignTop);
    auto* right = new QVBoxLayout;
    right->setSpacing(16);
    tools_ = new ToolsCard(bridge_, column);
    right->addWidget(tools_);
    biggest_ = new BiggestCard(bridge_, column);
    right->addWidget(biggest_);
    right->addStretch(1);
    middle->addLayout(right, 1);
    stack->addLayout(middle);

    log_ = new LogCard(bridge_, column);
    stack->addWidget(log_);
    stack->addStretch(1);
}

void OverviewView::showEvent(QShowEvent* event) {
    Screen::showEvent(event);
    quickClean_->tickAllIfEmpty();
    arrange();
}

void OverviewView::resizeEvent(QResizeEvent* event) {
    Screen::resizeEvent(event);
    arrange();
}

bool OverviewView::sideBySide() const {
    return middle_->direction() == QBoxLayout::LeftToRight;
}

void OverviewView::arrange() {
    // The page's margins, both cards at their narrowest and the gap between
    // them; with less room than that the cards stack instead of running past
    // the window's edge, where no scroll bar would reach them.
    const int needed =
        24 * 2 + quickClean_->minimumSizeHint().width() + middle_->spacing() +
        std::max(tools_->minimumSizeHint().width(), biggest_->minimumSizeHint().width());
    const int room = scroll_->viewport()->width();
    const auto direction = room < needed ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight;
    if (middle_->direction() != direction) middle_->setDirection(direction);
}

}  // namespace kelvane
