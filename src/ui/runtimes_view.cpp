#include "ui/runtimes_view.h"

#include <QAction>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

#include "core/fmt.h"
#include "ui/inset_list.h"
#include "ui/model_bridge.h"
#include "ui/palette_roles.h"
#include "ui/runtime_row.h"
#include "ui/styled_label.h"
#include "ui/symbol_icons.h"
#include "ui/tool_title_row.h"

namespace kelvane {

RuntimesView::RuntimesView(ModelBridge& bridge, CleanCategory category, QWidget* parent)
    : Screen(bridge, parent), category_(std::move(category)) {
    const QString name = QString::fromStdString(category_.name);
    setWindowTitle(name);
    setAccessibleName(name);
    auto* stack = new QVBoxLayout(this);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(0);

    auto* header = new QWidget(this);
    auto* headerLayout = new QHBoxLayout(header);
    headerLayout->setContentsMargins(16, 16, 16, 16);
    headerLayout->setSpacing(16);
    auto* left = new QVBoxLayout;
    left->setSpacing(8);
    left->addWidget(new ToolTitleRow(category_, header));
    auto* detail = StyledLabel::secondary(QString::fromStdString(category_.detail),
                                          Typography::body(), header);
    detail->setWordWrap(true);
    left->addWidget(detail);
    auto* explanation = StyledLabel::secondary(
        QStringLiteral("Xcode 15 以降のランタイムはディスクイメージとして "
                       "/Library/Developer/CoreSimulator に保存されます。使わない OS "
                       "バージョンは削除して構いません (必要になれば Xcode > Settings > "
                       "Components から再取得)。"),
        Typography::caption(), header);
    explanation->setWordWrap(true);
    left->addWidget(explanation);
    headerLayout->addLayout(left, 1);

    auto* right = new QVBoxLayout;
    right->setSpacing(6);
    total_ = StyledLabel::make({}, Typography::bigFigure(), PaletteRoles::primaryText(), header);
    total_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    right->addWidget(total_, 0, Qt::AlignRight);
    auto* unavailable = new QPushButton(QStringLiteral("使用不可のシミュレータを削除"), header);
    connect(unavailable, &QPushButton::clicked, this,
            [this] { bridge_.model().confirmDeleteUnavailableSims(); });
    right->addWidget(unavailable, 0, Qt::AlignRight);
    right->addStretch(1);
    headerLayout->addLayout(right);
    stack->addWidget(header);

    auto* divider = new QFrame(this);
    divider->setFrameShape(QFrame::HLine);
    divider->setFrameShadow(QFrame::Plain);
    stack->addWidget(divider);
    list_ = new InsetList(this);
    stack->addWidget(list_, 1);

    reload_ = new QAction(SymbolIcons::icon("arrow.clockwise"), QStringLiteral("更新"), this);
    connect(reload_, &QAction::triggered, this, [this] { bridge_.model().loadRuntimes(); });
    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::runtimes || change.field == ModelField::runtimesLoading)
            refresh();
    });
    refresh();
}

QList<QAction*> RuntimesView::toolbarActions() const {
    return {reload_};
}

void RuntimesView::refresh() {
    const AppModel& model = bridge_.model();
    const std::vector<SimRuntime>& runtimes = model.runtimes();
    std::int64_t total = 0;
    for (const SimRuntime& runtime : runtimes) total += runtime.sizeBytes;
    StyledLabel::setText(total_, QString::fromStdString(Fmt::bytes(total)));

    // An older list may still be held while a new one loads; it is not shown.
    if (model.runtimesLoading()) {
        list_->showLoading();
        return;
    }
    if (runtimes.empty()) {
        list_->showMessage(
            QStringLiteral("ランタイムが見つかりません (Xcode がインストールされていない可能性)"));
        return;
    }
    list_->clear();
    const double scale = static_cast<double>(std::max<std::int64_t>(runtimes.front().sizeBytes, 1));
    for (const SimRuntime& runtime : runtimes) {
        auto* row = new RuntimeRow(runtime, static_cast<double>(runtime.sizeBytes) / scale);
        connect(row, &RuntimeRow::deleteRequested, this,
                [this](const SimRuntime& r) { bridge_.model().confirmDeleteRuntime(r); });
        list_->addRow(row);
    }
}

}  // namespace kelvane
