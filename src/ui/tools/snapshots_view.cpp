#include "ui/tools/snapshots_view.h"

#include <QBoxLayout>
#include <QPushButton>

#include "ui/components/inset_list.h"
#include "ui/app/model_bridge.h"
#include "ui/components/palette_roles.h"
#include "ui/tools/snapshot_row.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {

SnapshotsView::SnapshotsView(ModelBridge& bridge, CleanCategory category, QWidget* parent)
    : ToolScreen(
          bridge, std::move(category), [&bridge] { bridge.model().loadSnapshots(); }, parent) {
    deleteAll_ =
        new QPushButton(SymbolIcons::icon("trash"), QStringLiteral("すべて削除"), header());
    PaletteRoles::markDestructive(deleteAll_);
    headerLayout()->addLayout(describedTitle(
        QStringLiteral(
            "Time Machine が有効な Mac "
            "では、外部ディスクに書き出す前のバックアップが起動ディスク上に「ローカルスナップショッ"
            "ト"
            "」として保持されます。これは Finder やストレージ設定では「システムデータ」に含まれ、"
            "macOS "
            "は容量が逼迫すると自動的に削除しますが、手動で削除して即座に容量を空けることもできます"
            " "
            "(管理者パスワードが必要)。"),
        deleteAll_));

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
    for (const std::string& date : model.snapshots()) {
        auto* row = new SnapshotRow(date);
        connect(row, &SnapshotRow::deleteRequested, this,
                [this](const std::string& d) { bridge_.model().confirmDeleteSnapshots({d}); });
        list()->addRow(row);
    }
}

}  // namespace kelvane
