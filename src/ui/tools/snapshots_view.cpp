#include "ui/tools/snapshots_view.h"

#include <QBoxLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/app/model_bridge.h"
#include "ui/components/inset_list.h"
#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"
#include "ui/tools/snapshot_row.h"

namespace kelvane {

SnapshotsView::SnapshotsView(ModelBridge& bridge, CleanCategory category, QWidget* parent)
    : ToolScreen(
          bridge, std::move(category), [&bridge] { bridge.model().loadSnapshots(); }, parent) {
    deleteAll_ =
        new QPushButton(SymbolIcons::icon("trash"), QStringLiteral("すべて削除"), header());
    PaletteRoles::markDestructive(deleteAll_);
    QVBoxLayout* column = describedTitle(
        QStringLiteral(
            "Btrfs のスナップショット (Snapper、Timeshift、手動で作ったもの) は、元のファイルを削除"
            "しても、その時点のデータをディスク上に残し続けます。不要になったスナップショットを削除"
            "すると容量が空きます (管理者パスワードが必要)。"),
        deleteAll_);
    headerLayout()->addLayout(column);
    // Most snapshots only root may list: say so, and list through the
    // helper only when asked, never on merely opening the screen.
    adminNote_ = new QWidget(header());
    auto* note = new QHBoxLayout(adminNote_);
    note->setContentsMargins(0, 4, 0, 0);
    QLabel* why = StyledLabel::secondary(
        QStringLiteral("Btrfs のボリュームや Timeshift のスナップショットの一覧を取得するには"
                       "管理者権限が必要です。"),
        Typography::caption(), adminNote_);
    why->setWordWrap(true);
    note->addWidget(why, 1);
    listAsAdmin_ = new QPushButton(QStringLiteral("管理者権限で一覧を取得"), adminNote_);
    note->addWidget(listAsAdmin_);
    column->addWidget(adminNote_);
    connect(listAsAdmin_, &QPushButton::clicked, this,
            [this] { bridge_.model().loadSnapshotsAsAdmin(); });

    connect(deleteAll_, &QPushButton::clicked, this,
            [this] { bridge_.model().confirmDeleteSnapshots(bridge_.model().snapshots()); });
    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::snapshots || change.field == ModelField::snapshotsLoading)
            refresh();
    });
    refresh();
}

void SnapshotsView::refresh() {
    const AppModel& model = bridge_.model();
    deleteAll_->setEnabled(!model.snapshots().empty());
    adminNote_->setVisible(model.snapshotsNeedAdministrator());
    // An older list may still be held while a new one loads; it is not shown.
    if (model.snapshotsLoading()) {
        list()->showLoading();
        return;
    }
    if (model.snapshots().empty()) {
        list()->showMessage(QStringLiteral("ローカルスナップショットはありません"));
        return;
    }
    list()->clear();
    for (const LocalSnapshot& snapshot : model.snapshots()) {
        auto* row = new SnapshotRow(snapshot);
        connect(row, &SnapshotRow::deleteRequested, this,
                [this](const LocalSnapshot& s) { bridge_.model().confirmDeleteSnapshots({s}); });
        list()->addRow(row);
    }
}

}  // namespace kelvane
