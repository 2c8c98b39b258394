#include "ui/overview_view.h"

#include <QLabel>
#include <QVBoxLayout>

namespace kelvane {

OverviewView::OverviewView(ModelBridge& bridge, QWidget* parent) : Screen(bridge, parent) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("概要"), this), 0, Qt::AlignCenter);
}

}  // namespace kelvane
