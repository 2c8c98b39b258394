#include <QLabel>
#include <QPushButton>
#include <QToolBar>

#include "ui/components/inset_list.h"
#include "ui/overview/overview_view.h"
#include "ui/tools/runtime_row.h"
#include "ui/tools/runtimes_view.h"
#include "ui/tools/snapshots_view.h"
#include "ui/tools/tool_screen.h"
#include "ui_fixture.h"

namespace kelvane::test {
namespace {

using Rows = std::vector<QStringList>;

class ToolScreensTest : public UiTest {
  protected:
    // The texts of every label of each list row, in order.
    static Rows rows(const ToolScreen* view) {
        Rows shown;
        for (const QWidget* row : view->list()->rows()) {
            QStringList texts;
            for (const QLabel* label : row->findChildren<QLabel*>()) {
                if (!label->text().isEmpty()) texts << label->text();
            }
            shown.push_back(texts);
        }
        return shown;
    }

    // The window toolbar's "更新", there only while a tool screen shows.
    QAction* reload() {
        for (QAction* action : app->window().toolbar()->actions()) {
            if (action->text() == QStringLiteral("更新")) return action;
        }
        return nullptr;
    }

    static SimRuntime runtime(std::string id, std::string platform, std::int64_t size,
                              bool deletable, std::optional<std::string> lastUsed = std::nullopt) {
        return SimRuntime{std::move(id), platform + " 17.4", "17.4",
                          "21E213",      platform,           size,
                          "Ready",       deletable,          std::move(lastUsed)};
    }
};

TEST_F(ToolScreensTest, ListsLoadWithTheirOwnReloadAndEveryDeletionAsks) {
    services->runtimeList = {
        runtime("a", "iOS", 8'000'000'000, true, "2024-03-09T12:34:56Z"),
        runtime("b", "visionOS", 6'000'000'000, false),
        runtime("c", "WATCHOS", 2'000'000'000, true, "2024"),
        runtime("d", "fooOS", 0, true),
    };
    launch(std::nullopt, false);
    auto* snapshots = open<SnapshotsView>("snapshots");
    ASSERT_NE(snapshots, nullptr);
    EXPECT_EQ(rows(snapshots), Rows{{"ローカルスナップショットはありません"}});
    EXPECT_FALSE(snapshots->deleteAllButton()->isEnabled());
    // "更新" reloads; while it runs only "取得中…" shows, though the old list is held.
    services->snapshotList = {"2024-05-01-101112", "2024-05-02-101112", "2024-05-03-101112"};
    reload()->trigger();
    settle();
    ASSERT_EQ(rows(snapshots).size(), 3u);
    EXPECT_EQ(rows(snapshots)[1], QStringList{"2024-05-02-101112"});
    reload()->trigger();
    EXPECT_EQ(rows(snapshots), Rows{{"取得中…"}});
    settle();
    // One row's "削除" asks for that snapshot alone, "すべて削除" for all.
    findButton(snapshots->list()->rows()[1], QStringLiteral("削除"))->click();
    ASSERT_TRUE(model().pendingAction().has_value());
    EXPECT_EQ(model().pendingAction()->title, "ローカルスナップショット 1 件を削除しますか？");
    EXPECT_NE(model().pendingAction()->message.find("2024-05-02-101112"), std::string::npos);
    EXPECT_EQ(model().pendingAction()->message.find("2024-05-01-101112"), std::string::npos);
    snapshots->deleteAllButton()->click();
    EXPECT_EQ(model().pendingAction()->title, "ローカルスナップショット 3 件を削除しますか？");
    model().setPendingAction(std::nullopt);

    auto* runtimes = open<RuntimesView>("sim_runtimes");
    ASSERT_NE(runtimes, nullptr);
    EXPECT_EQ(runtimes->totalLabel()->text(), bytes(16'000'000'000));
    const QList<QWidget*> list = runtimes->list()->rows();
    ASSERT_EQ(list.size(), 4);
    const std::vector<const char*> symbols{"iphone", "visionpro", "applewatch",
                                           "square.stack.3d.down.right"};
    for (int i = 0; i < 4; ++i) EXPECT_NE(list[i]->findChild<QLabel*>(symbols[i]), nullptr) << i;
    const Rows shown = rows(runtimes);
    EXPECT_EQ(shown[0], (QStringList{"iOS 17.4", "21E213  ·  Ready  ·  最終使用 2024-03-09",
                                     bytes(8'000'000'000)}));
    // A last use shorter than a day shows whole; none shows no tail at all.
    EXPECT_EQ(shown[2][1], QStringLiteral("21E213  ·  Ready  ·  最終使用 2024"));
    EXPECT_EQ(shown[1][1], QStringLiteral("21E213  ·  Ready"));
    // The non-deletable runtime shows its size but cannot be deleted.
    const auto row = [&](int i) { return qobject_cast<RuntimeRow*>(list[i]); };
    EXPECT_EQ(shown[1].back(), bytes(6'000'000'000));
    EXPECT_FALSE(row(1)->deleteButton()->isEnabled());
    row(2)->deleteButton()->click();
    EXPECT_EQ(model().pendingAction()->title, "WATCHOS 17.4 を削除しますか？");
    findButton(runtimes, QStringLiteral("使用不可のシミュレータを削除"))->click();
    EXPECT_EQ(model().pendingAction()->title, "使用不可のシミュレータを削除しますか？");
    model().setPendingAction(std::nullopt);
    // An empty answer shows the hint.
    services->runtimeList.clear();
    reload()->trigger();
    settle();
    EXPECT_EQ(rows(runtimes),
              Rows{{"ランタイムが見つかりません (Xcode がインストールされていない可能性)"}});
    EXPECT_EQ(runtimes->totalLabel()->text(), bytes(0));
    // Leaving the tool screens takes their toolbar button away.
    open<OverviewView>("__overview__");
    EXPECT_EQ(reload(), nullptr);
}

}  // namespace
}  // namespace kelvane::test
