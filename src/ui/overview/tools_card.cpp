#include "ui/overview/tools_card.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <functional>
#include <utility>
#include <vector>

#include "core/path_text.h"
#include "ui/app/model_bridge.h"
#include "ui/components/display_text.h"
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

// The short form of the folder an exploration row walks.
QString exploredFolder(const AppModel& model, const std::string& id) {
    for (const CleanCategory& c : model.categories()) {
        if (c.id == id && !c.patterns.empty())
            return DisplayText::fromBytes(PathText::shortForm(c.patterns.front(), model.home()));
    }
    return QString::fromStdString(id);
}

std::function<void(AppModel&)> select(const char* id) {
    return [id](AppModel& model) { model.setSelectedID(std::string(id)); };
}

}  // namespace

ToolsCard::ToolsCard(ModelBridge& bridge, QWidget* parent)
    : Card(QStringLiteral("その他のクリーンアップ"), "wrench.and.screwdriver", parent),
      bridge_(bridge) {
    // The exploration buttons are labelled with the folders those rows walk
    // (the data home follows XDG_DATA_HOME), as the sidebar names them.
    const AppModel& model = bridge_.model();
    const QString userData = exploredFolder(model, "explore_lib");
    const QString system = exploredFolder(model, "explore_syslib");
    const std::vector<ToolRow> tools{
        {QStringLiteral("使用されていないランタイムを削除"),
         QStringLiteral("未使用の Flatpak ランタイム (flatpak uninstall --unused)"),
         {{QStringLiteral("実行"), [](AppModel& m) { m.confirmDeleteUnavailableSims(); }}}},
        {QStringLiteral("Flatpak / Snap ランタイム"),
         QStringLiteral("インストール済みのランタイムや古いリビジョンを個別に削除"),
         {{QStringLiteral("表示"), select("sim_runtimes")}}},
        {QStringLiteral("ローカルスナップショット (Snapper / Timeshift / Btrfs)"),
         QStringLiteral("削除したファイルの容量を持ち続けているスナップショット"),
         {{QStringLiteral("表示"), select("snapshots")}}},
        {QStringLiteral("正体不明の容量を探す"),
         userData + QStringLiteral(" や ") + system + QStringLiteral(" を大きい順に探索"),
         {{userData, select("explore_lib")}, {system, select("explore_syslib")}}},
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
            // A folder's name as a label ("~/.local/share") would touch the
            // button's edges; give it the room a word label has.
            button->setMinimumWidth(button->fontMetrics().horizontalAdvance(tb.label) + 28);
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
