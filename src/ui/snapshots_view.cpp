#include "ui/snapshots_view.h"

#include <QAction>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/inset_list.h"
#include "ui/model_bridge.h"
#include "ui/palette_roles.h"
#include "ui/snapshot_row.h"
#include "ui/styled_label.h"
#include "ui/symbol_icons.h"
#include "ui/tool_title_row.h"

namespace kelvane {

SnapshotsView::SnapshotsView(ModelBridge& bridge, CleanCategory category, QWidget* parent)
    : Screen(bridge, parent), category_(std::move(category)) {
    const QString name = QString::fromStdString(category_.name);
    setWindowTitle(name);
    setAccessibleName(name);
    auto* stack = new QVBoxLayout(this);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(0);

    auto* header = new QWidget(this);
    auto* headerLayout = new QVBoxLayout(header);
    headerLayout->setContentsMargins(16, 16, 16, 16);
    headerLayout->setSpacing(8);
    auto* titleLine = new QHBoxLayout;
    titleLine->addWidget(new ToolTitleRow(category_, header), 1);
    deleteAll_ = new QPushButton(SymbolIcons::icon("trash"), QStringLiteral("すべて削除"), header);
    // A destructive command reads in red, as in the confirmation dialogs.
    QPalette destructive = deleteAll_->palette();
    destructive.setColor(QPalette::ButtonText, PaletteRoles::red());
    deleteAll_->setPalette(destructive);
    titleLine->addWidget(deleteAll_);
    headerLayout->addLayout(titleLine);
    auto* detail = StyledLabel::secondary(QString::fromStdString(category_.detail),
                                          Typography::body(), header);
    detail->setWordWrap(true);
    headerLayout->addWidget(detail);
    auto* explanation = StyledLabel::secondary(
        QStringLiteral(
            "Time Machine が有効な Mac "
            "では、外部ディスクに書き出す前のバックアップが起動ディスク上に「ローカルスナップショッ"
            "ト"
            "」として保持されます。これは Finder やストレージ設定では「システムデータ」に含まれ、"
            "macOS "
            "は容量が逼迫すると自動的に削除しますが、手動で削除して即座に容量を空けることもできます"
            " "
            "(管理者パスワードが必要)。"),
        Typography::caption(), header);
    explanation->setWordWrap(true);
    headerLayout->addWidget(explanation);
    stack->addWidget(header);

    auto* divider = new QFrame(this);
    divider->setFrameShape(QFrame::HLine);
    divider->setFrameShadow(QFrame::Plain);
    stack->addWidget(divider);
    list_ = new InsetList(this);
    stack->addWidget(list_, 1);

    reload_ = new QAction(SymbolIcons::icon("arrow.clockwise"), QStringLiteral("更新"), this);
    connect(reload_, &QAction::triggered, this, [this] { bridge_.model().loadSnapshots(); });
    connect(deleteAll_, &QPushButton::clicked, this,
            [this] { bridge_.model().confirmDeleteSnapshots(bridge_.model().snapshots()); });
    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::snapshots || change.field == ModelField::snapshotsLoading)
            refresh();
    });
    refresh();
}

QList<QAction*> SnapshotsView::toolbarActions() const {
    return {reload_};
}

void SnapshotsView::refresh() {
    const AppModel& model = bridge_.model();
    deleteAll_->setEnabled(!model.snapshots().empty());
    // An older list may still be held while a new one loads; it is not shown.
    if (model.snapshotsLoading()) {
        list_->showLoading();
        return;
    }
    if (model.snapshots().empty()) {
        list_->showMessage(QStringLiteral("ローカルスナップショットはありません"));
        return;
    }
    list_->clear();
    for (const std::string& date : model.snapshots()) {
        auto* row = new SnapshotRow(date);
        connect(row, &SnapshotRow::deleteRequested, this,
                [this](const std::string& d) { bridge_.model().confirmDeleteSnapshots({d}); });
        list_->addRow(row);
    }
}

}  // namespace kelvane
