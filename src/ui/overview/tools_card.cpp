#include "ui/overview/tools_card.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <functional>
#include <utility>
#include <vector>

#include "ui/app/model_bridge.h"
#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"

namespace kelvane {

namespace {

struct ToolButton {
    QString label;
    std::function<void(AppModel&)> action;
};

struct ToolRow {
    QString title;
    QString subtitle;
    std::vector<ToolButton> buttons;
};

std::function<void(AppModel&)> select(const char* id) {
    return [id](AppModel& model) { model.setSelectedID(std::string(id)); };
}

}  // namespace

ToolsCard::ToolsCard(ModelBridge& bridge, QWidget* parent)
    : Card(QStringLiteral("その他のクリーンアップ"), "wrench.and.screwdriver", parent),
      bridge_(bridge) {
    const std::vector<ToolRow> tools{
        {QStringLiteral("使用不可のシミュレータを削除"),
         QStringLiteral("対応ランタイムが無い古いシミュレータ (simctl delete unavailable)"),
         {{QStringLiteral("実行"), [](AppModel& m) { m.confirmDeleteUnavailableSims(); }}}},
        {QStringLiteral("シミュレータランタイム"),
         QStringLiteral("ダウンロード済みの iOS 等のランタイムを個別に削除"),
         {{QStringLiteral("表示"), select("sim_runtimes")}}},
        {QStringLiteral("Time Machine ローカルスナップショット"),
         QStringLiteral("「システムデータ」に含まれる一時スナップショット"),
         {{QStringLiteral("表示"), select("snapshots")}}},
        {QStringLiteral("正体不明の容量を探す"),
         QStringLiteral("~/Library や /Library を大きい順に探索"),
         {{QStringLiteral("~/Library"), select("explore_lib")},
          {QStringLiteral("/Library"), select("explore_syslib")}}},
    };

    bool first = true;
    for (const ToolRow& tool : tools) {
        if (!first) {
            auto* divider = new QFrame(this);
            divider->setFrameShape(QFrame::HLine);
            divider->setFrameShadow(QFrame::Plain);
            divider->setStyleSheet(QStringLiteral("color: %1;")
                                       .arg(StyledLabel::css(PaletteRoles::withOpacity(
                                           PaletteRoles::primaryText(), 0.1))));
            content()->addWidget(divider);
        }
        first = false;
        auto* row = new QHBoxLayout;
        auto* texts = new QVBoxLayout;
        texts->setSpacing(2);
        texts->addWidget(
            StyledLabel::make(tool.title, Typography::body(), PaletteRoles::primaryText(), this));
        auto* subtitle = StyledLabel::secondary(tool.subtitle, Typography::caption(), this);
        subtitle->setWordWrap(true);
        texts->addWidget(subtitle);
        row->addLayout(texts, 1);
        for (const ToolButton& tb : tool.buttons) {
            auto* button = new QPushButton(tb.label, this);
            // The button's own label says little ("表示"); the row's title
            // tells a screen reader what it acts on.
            button->setAccessibleDescription(tool.title);
            connect(button, &QPushButton::clicked, this,
                    [this, action = tb.action] { action(bridge_.model()); });
            row->addWidget(button, 0, Qt::AlignVCenter);
        }
        content()->addLayout(row);
    }
}

}  // namespace kelvane
