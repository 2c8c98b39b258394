#include "ui/snapshots_view.h"

#include <QLabel>
#include <QVBoxLayout>

namespace kelvane {

SnapshotsView::SnapshotsView(ModelBridge& bridge, CleanCategory category, QWidget* parent)
    : Screen(bridge, parent), category_(std::move(category)) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("スナップショット"), this), 0, Qt::AlignCenter);
}

}  // namespace kelvane
