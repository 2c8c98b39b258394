#include "ui/tools/runtimes_view.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

#include "core/fmt.h"
#include "ui/app/model_bridge.h"
#include "ui/components/inset_list.h"
#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"
#include "ui/tools/runtime_row.h"

namespace kelvane {

RuntimesView::RuntimesView(ModelBridge& bridge, CleanCategory category, QWidget* parent)
    : ToolScreen(
          bridge, std::move(category), [&bridge] { bridge.model().loadRuntimes(); }, parent) {
    headerLayout()->addLayout(
        describedTitle(
            QStringLiteral("Flatpak のランタイムはアプリが動くための共通部品で、ユーザー用は "
                           "~/.local/share/flatpak、システム用は /var/lib/flatpak "
                           "に保存されます。どのアプリも使用していないランタイムは削除して"
                           "構いません (必要になれば flatpak install で再取得)。Snap "
                           "の無効なリビジョンは更新前の版で、snap revert "
                           "で戻すためだけに残されています。")),
        1);

    auto* right = new QVBoxLayout;
    right->setSpacing(6);
    total_ = StyledLabel::make({}, Typography::bigFigure(), PaletteRoles::primaryText(), header());
    total_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    right->addWidget(total_, 0, Qt::AlignRight);
    auto* unavailable =
        new QPushButton(QStringLiteral("使用されていないランタイムを削除"), header());
    connect(unavailable, &QPushButton::clicked, this,
            [this] { bridge_.model().confirmDeleteUnavailableSims(); });
    right->addWidget(unavailable, 0, Qt::AlignRight);
    right->addStretch(1);
    headerLayout()->addLayout(right);

    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::runtimes || change.field == ModelField::runtimesLoading)
            refresh();
    });
    refresh();
}

void RuntimesView::refresh() {
    const AppModel& model = bridge_.model();
    const std::vector<SimRuntime>& runtimes = model.runtimes();
    std::int64_t total = 0;
    for (const SimRuntime& runtime : runtimes) total += runtime.sizeBytes;
    StyledLabel::setText(total_, QString::fromStdString(Fmt::bytes(total)));

    // An older list may still be held while a new one loads; it is not shown.
    if (model.runtimesLoading()) {
        list()->showLoading();
        return;
    }
    if (runtimes.empty()) {
        list()->showMessage(
            QStringLiteral("ランタイムが見つかりません (Flatpak / Snap "
                           "がインストールされていないか、削除できるものがありません)"));
        return;
    }
    list()->clear();
    const double scale = static_cast<double>(std::max<std::int64_t>(runtimes.front().sizeBytes, 1));
    for (const SimRuntime& runtime : runtimes) {
        auto* row = new RuntimeRow(runtime, static_cast<double>(runtime.sizeBytes) / scale);
        connect(row, &RuntimeRow::deleteRequested, this,
                [this](const SimRuntime& r) { bridge_.model().confirmDeleteRuntime(r); });
        list()->addRow(row);
    }
}

}  // namespace kelvane
