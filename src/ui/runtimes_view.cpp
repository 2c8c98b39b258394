#include "ui/runtimes_view.h"

#include <QLabel>
#include <QVBoxLayout>

namespace kelvane {

RuntimesView::RuntimesView(ModelBridge& bridge, CleanCategory category, QWidget* parent)
    : Screen(bridge, parent), category_(std::move(category)) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("ランタイム"), this), 0, Qt::AlignCenter);
}

}  // namespace kelvane
