#include "ui/browser/browser_sort_switch.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QToolButton>

#include "ui/app/model_bridge.h"

namespace kelvane {
namespace {

QToolButton* segment(const QString& text, const QString& tip, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setText(text);
    button->setAccessibleName(text);
    button->setToolTip(tip);
    button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    button->setCheckable(true);
    button->setAutoRaise(true);
    return button;
}

}  // namespace

BrowserSortSwitch::BrowserSortSwitch(ModelBridge& bridge, QWidget* parent)
    : QWidget(parent),
      bridge_(bridge),
      size_(segment(QStringLiteral("サイズ順"), QStringLiteral("大きいものから並べる"), this)),
      growth_(segment(QStringLiteral("増減順"),
                      QStringLiteral("比較の基準から増えたものから並べる"), this)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 8, 0);
    row->setSpacing(2);
    row->addWidget(size_);
    row->addWidget(growth_);
    auto* group = new QButtonGroup(this);
    group->setExclusive(true);
    group->addButton(size_);
    group->addButton(growth_);
    showSort();
    connect(size_, &QToolButton::clicked, this,
            [this] { bridge_.model().setBrowserSort(BrowserSort::size); });
    connect(growth_, &QToolButton::clicked, this,
            [this] { bridge_.model().setBrowserSort(BrowserSort::growth); });
    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::browserSort) showSort();
    });
}

void BrowserSortSwitch::showSort() {
    const bool growth = bridge_.model().browserSort() == BrowserSort::growth;
    (growth ? growth_ : size_)->setChecked(true);
}

}  // namespace kelvane
