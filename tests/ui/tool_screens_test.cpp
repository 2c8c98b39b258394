#include <QAction>
#include <QLabel>
#include <QPushButton>
#include <QToolBar>

#include "core/fmt.h"
#include "ui/app/content_view.h"
#include "ui/app/detail_router.h"
#include "ui/components/inset_list.h"
#include "ui/app/main_window.h"
#include "ui/tools/runtime_row.h"
#include "ui/tools/runtimes_view.h"
#include "ui/tools/snapshots_view.h"
#include "ui_fixture.h"
#include "widget_find.h"

namespace kelvane::test {
namespace {

class ToolScreensTest : public UiTest {
  protected:
    template <typename View>
    View* open(const std::string& id) {
        model().setSelectedID(id);
        waitFor([&] {
            return qobject_cast<View*>(app->window().content()->router()->current()) != nullptr &&
                   !model().snapshotsLoading() && !model().runtimesLoading();
        });
        return qobject_cast<View*>(app->window().content()->router()->current());
    }

    // The texts of every label of a list row, in order.
    static QStringList labels(const QWidget* row) {
        QStringList texts;
        for (const QLabel* label : row->findChildren<QLabel*>()) {
            if (!label->text().isEmpty()) texts << label->text();
        }
        return texts;
    }

    QAction* toolbarAction(const QString& text) {
        for (QAction* action : app->window().toolbar()->actions()) {
            if (action->text() == text) return action;
        }
        return nullptr;
    }

    static SimRuntime runtime(std::string id, std::string platform, std::int64_t size,
                              bool deletable, std::optional<std::string> lastUsed = std::nullopt) {
        SimRuntime r;
        r.id = std::move(id);
        r.name = platform + " 17.4";
        r.platform = std::move(platform);
        r.version = "17.4";
        r.build = "21E213";
        r.sizeBytes = size;
        r.state = "Ready";
        r.deletable = deletable;
        r.lastUsed = std::move(lastUsed);
        return r;
    }
};

TEST_F(ToolScreensTest, SnapshotsEmptyThenListedThenReloading) {
    launch(std::nullopt, false);
    auto* view = open<SnapshotsView>("snapshots");
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->windowTitle(), QStringLiteral("Time Machine ローカルスナップショット"));
    ASSERT_EQ(view->list()->rows().size(), 1);
    EXPECT_EQ(labels(view->list()->rows()[0]),
              QStringList{QStringLiteral("ローカルスナップショットはありません")});
    EXPECT_FALSE(view->deleteAllButton()->isEnabled());
    view->deleteAllButton()->click();
    EXPECT_FALSE(model().pendingAction().has_value());

    // "更新" sits in the window's toolbar while the screen shows and reloads.
    services->snapshotList = {"2024-05-01-101112", "2024-05-02-101112", "2024-05-03-101112"};
    QAction* reload = toolbarAction(QStringLiteral("更新"));
    ASSERT_NE(reload, nullptr);
    reload->trigger();
    waitFor([&] { return !model().snapshotsLoading(); });
    ASSERT_EQ(view->list()->rows().size(), 3);
    EXPECT_EQ(labels(view->list()->rows()[1]), QStringList{QStringLiteral("2024-05-02-101112")});
    EXPECT_TRUE(view->deleteAllButton()->isEnabled());

    // While a reload runs only "取得中…" shows, though the old list is held.
    reload->trigger();
    ASSERT_TRUE(model().snapshotsLoading());
    ASSERT_EQ(view->list()->rows().size(), 1);
    EXPECT_EQ(labels(view->list()->rows()[0]), QStringList{QStringLiteral("取得中…")});
    waitFor([&] { return !model().snapshotsLoading(); });
    ASSERT_EQ(view->list()->rows().size(), 3);

    // One row's "削除" asks for that snapshot alone, "すべて削除" for all.
    findButton(view->list()->rows()[1], QStringLiteral("削除"))->click();
    ASSERT_TRUE(model().pendingAction().has_value());
    EXPECT_EQ(model().pendingAction()->title, "ローカルスナップショット 1 件を削除しますか？");
    EXPECT_NE(model().pendingAction()->message.find("2024-05-02-101112"), std::string::npos);
    EXPECT_EQ(model().pendingAction()->message.find("2024-05-01-101112"), std::string::npos);
    view->deleteAllButton()->click();
    EXPECT_EQ(model().pendingAction()->title, "ローカルスナップショット 3 件を削除しますか？");
    model().setPendingAction(std::nullopt);

    // Leaving the screen takes its toolbar button away.
    model().setSelectedID("__overview__");
    waitFor([&] { return toolbarAction(QStringLiteral("更新")) == nullptr; });
}

TEST_F(ToolScreensTest, RuntimesListPlatformsSizesAndDeletability) {
    services->runtimeList = {
        runtime("a", "iOS", 8'000'000'000, true, "2024-03-09T12:34:56Z"),
        runtime("b", "visionOS", 6'000'000'000, false),
        runtime("c", "WATCHOS", 2'000'000'000, true, "2024"),
        runtime("d", "fooOS", 0, true),
    };
    launch(std::nullopt, false);
    auto* view = open<RuntimesView>("sim_runtimes");
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->totalLabel()->text(), QString::fromStdString(Fmt::bytes(16'000'000'000)));
    const QList<QWidget*>& rows = view->list()->rows();
    ASSERT_EQ(rows.size(), 4);

    const auto row = [&](int i) { return qobject_cast<RuntimeRow*>(rows[i]); };
    const std::vector<std::string> symbols{"iphone", "visionpro", "applewatch",
                                           "square.stack.3d.down.right"};
    for (int i = 0; i < 4; ++i) {
        EXPECT_NE(rows[i]->findChild<QLabel*>(QString::fromStdString(symbols[i])), nullptr)
            << symbols[i];
    }
    EXPECT_EQ(labels(rows[0]), (QStringList{"iOS 17.4", "21E213  ·  Ready  ·  最終使用 2024-03-09",
                                            QString::fromStdString(Fmt::bytes(8'000'000'000))}));
    // A last use shorter than a day shows whole; none shows no tail at all.
    EXPECT_EQ(labels(rows[2])[1], QStringLiteral("21E213  ·  Ready  ·  最終使用 2024"));
    EXPECT_EQ(labels(rows[1])[1], QStringLiteral("21E213  ·  Ready"));

    // The non-deletable runtime shows its size but cannot be deleted.
    EXPECT_FALSE(row(1)->deleteButton()->isEnabled());
    EXPECT_TRUE(labels(rows[1]).contains(QString::fromStdString(Fmt::bytes(6'000'000'000))));
    EXPECT_TRUE(row(3)->deleteButton()->isEnabled());
    row(2)->deleteButton()->click();
    ASSERT_TRUE(model().pendingAction().has_value());
    EXPECT_EQ(model().pendingAction()->title, "WATCHOS 17.4 を削除しますか？");
    model().setPendingAction(std::nullopt);

    findButton(view, QStringLiteral("使用不可のシミュレータを削除"))->click();
    ASSERT_TRUE(model().pendingAction().has_value());
    EXPECT_EQ(model().pendingAction()->title, "使用不可のシミュレータを削除しますか？");
    model().setPendingAction(std::nullopt);

    // Loading hides the held list; an empty answer shows the hint.
    services->runtimeList.clear();
    QAction* reload = toolbarAction(QStringLiteral("更新"));
    ASSERT_NE(reload, nullptr);
    reload->trigger();
    ASSERT_EQ(view->list()->rows().size(), 1);
    EXPECT_EQ(labels(view->list()->rows()[0]), QStringList{QStringLiteral("取得中…")});
    waitFor([&] { return !model().runtimesLoading(); });
    ASSERT_EQ(view->list()->rows().size(), 1);
    EXPECT_EQ(labels(view->list()->rows()[0]),
              QStringList{QStringLiteral(
                  "ランタイムが見つかりません (Xcode がインストールされていない可能性)")});
    EXPECT_EQ(view->totalLabel()->text(), QString::fromStdString(Fmt::bytes(0)));
}

}  // namespace
}  // namespace kelvane::test
