#include "ui/app/detail_router.h"

#include <QVBoxLayout>

#include "ui/app/model_bridge.h"
#include "ui/browser/category_detail_view.h"
#include "ui/overview/overview_view.h"
#include "ui/tools/runtimes_view.h"
#include "ui/tools/snapshots_view.h"

namespace kelvane {

DetailRouter::DetailRouter(ModelBridge& bridge, QWidget* parent)
    : QWidget(parent), bridge_(bridge) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::selectedID || change.field == ModelField::categories)
            route();
    });
    route();
}

void DetailRouter::route() {
    const std::optional<CleanCategory> category = bridge_.model().selectedCategory();
    QString key = QStringLiteral("overview");
    if (category) {
        const QString id = QString::fromStdString(category->id);
        switch (category->kind) {
            case CategoryKind::folders:
                key = QStringLiteral("folders:") + id;
                break;
            case CategoryKind::snapshots:
                key = QStringLiteral("snapshots:") + id;
                break;
            case CategoryKind::runtimes:
                key = QStringLiteral("runtimes:") + id;
                break;
        }
    }
    if (current_ != nullptr && key == key_) return;  // same screen stays

    Screen* next = nullptr;
    if (!category) {
        next = new OverviewView(bridge_, this);
    } else if (category->kind == CategoryKind::folders) {
        next = new CategoryDetailView(bridge_, *category, browserLayout_, this);
    } else if (category->kind == CategoryKind::snapshots) {
        next = new SnapshotsView(bridge_, *category, this);
    } else {
        next = new RuntimesView(bridge_, *category, this);
    }
    if (current_ != nullptr) {
        layout()->removeWidget(current_);
        current_->hide();
        current_->deleteLater();
    }
    current_ = next;
    key_ = key;
    layout()->addWidget(current_);
    current_->show();
    emit screenChanged(current_);
}

}  // namespace kelvane
