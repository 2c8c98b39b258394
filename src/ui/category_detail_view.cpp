#include "ui/category_detail_view.h"

#include <QLabel>
#include <QVBoxLayout>

namespace kelvane {

CategoryDetailView::CategoryDetailView(ModelBridge& bridge, CleanCategory category, QWidget* parent)
    : Screen(bridge, parent), category_(std::move(category)) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("カテゴリ"), this), 0, Qt::AlignCenter);
}

}  // namespace kelvane
