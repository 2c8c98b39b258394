#include "ui/browser/browser_layout_switch.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QToolButton>

#include "ui/components/symbol_icons.h"

namespace kelvane {
namespace {

QToolButton* segment(const char* symbol, const QString& text, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setIcon(SymbolIcons::icon(symbol));
    button->setText(text);
    button->setAccessibleName(text);
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setCheckable(true);
    button->setAutoRaise(true);
    return button;
}

}  // namespace

BrowserLayoutSwitch::BrowserLayoutSwitch(BrowserLayout layout, QWidget* parent)
    : QWidget(parent),
      list_(segment("list.bullet", QStringLiteral("リスト"), this)),
      map_(segment("square.grid.2x2", QStringLiteral("マップ"), this)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 12, 0);
    row->setSpacing(2);
    row->addWidget(list_);
    row->addWidget(map_);
    auto* group = new QButtonGroup(this);
    group->setExclusive(true);
    group->addButton(list_);
    group->addButton(map_);
    (layout == BrowserLayout::map ? map_ : list_)->setChecked(true);
    connect(list_, &QToolButton::toggled, this, [this](bool on) {
        if (on) emit chosen(BrowserLayout::list);
    });
    connect(map_, &QToolButton::toggled, this, [this](bool on) {
        if (on) emit chosen(BrowserLayout::map);
    });
}

}  // namespace kelvane
