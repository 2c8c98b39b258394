#include "core/fmt.h"
#include "model_fixture.h"
#include "system/shell.h"

namespace kelvane::test {
namespace {

const std::vector<LocalSnapshot> kSnapshots{
    {LocalSnapshot::Maker::snapper, "root", "7", "", "/.snapshots/7/snapshot",
     "2024-05-01 10:10:10", "before upgrade", 4096},
    {LocalSnapshot::Maker::timeshift, "", "", "2024-05-02_11-11-11", "", "2024-05-02 11:11:11", "",
     std::nullopt},
    {LocalSnapshot::Maker::btrfs, "", "", "", "/mnt/ro", "2024-05-03 12:12:12", "", 8192}};

// Each flow: its confirmation, its run, the report of a success and of every
// kind of failure, in our own words (what the tool wrote is quoted), and the
// list read again, also after a failure.
TEST_F(ModelTest, ToolFlowsReportInOurOwnWords) {
    makeFolder("Library/Developer/CoreSimulator/Devices/A1");
    makeModel();
    int simScans = 0;
    bool simScanning = false;
    model->subscribe([&](const ModelChange& change) {
        const bool scanning = model->state("sim_devices").status == Status::scanning;
        if (change.key == "sim_devices" && scanning && !simScanning) ++simScans;
        simScanning = scanning;
    });
    const SimRuntime runtime{"5E1F-AB",     "iOS 17.2", "17.2", "21C62",     "iOS",
                             6'543'210'000, "Ready",    true,   std::nullopt};
    struct Flow {
        std::function<void()> ask;
        std::vector<std::string> call;
        std::string log, notice, failed;
        std::function<int()> reloads;
    };
    const auto lists = [&] { return services->lists.load(); };
    const std::vector<Flow> flows{
        {[&] { model->confirmDeleteRuntime(runtime); },
         {"/usr/bin/xcrun", "simctl", "runtime", "delete", "5E1F-AB"},
         "ランタイム iOS 17.2 を削除 (" + Fmt::bytes(runtime.sizeBytes) + ")",
         "iOS 17.2 を削除しました。",
         "削除に失敗しました:\n",
         lists},
        {[&] { model->confirmDeleteUnavailableSims(); },
         {"/usr/bin/xcrun", "simctl", "delete", "unavailable"},
         "使用不可のシミュレータを削除",
         "使用不可のシミュレータを削除しました。",
         "失敗しました:\n",
         [&] { return simScans; }},
    };
    // How a run can fail, and what the notice says after the flow's lead:
    // the tool's output and error text, trimmed as a whole, or why it could
    // not be started.
    const ShellResult notStarted = Shell::run(path("no-such-tool"), {});
    ASSERT_EQ(notStarted.status, -1);
    const std::vector<std::pair<ShellResult, std::string>> failures{
        {{1, "  Error: runtime busy\n", "\n detail \n"}, "Error: runtime busy\n\n\n detail"},
        {{2, "", ""}, ""},
        {notStarted, notStarted.err},
    };
    services->runtimeList = {runtime};
    for (const Flow& flow : flows) {
        SCOPED_TRACE(flow.log);
        services->runResult = {};
        flow.ask();
        ASSERT_TRUE(model->pendingAction());
        const PendingAction again = *model->pendingAction();
        const std::size_t logged = model->log().size();
        const int reads = diskReads;
        const int reloads = flow.reloads();
        confirmAndSettle();
        EXPECT_EQ(services->runCalls.back(), flow.call);
        EXPECT_EQ(model->log().back().message, flow.log);
        EXPECT_EQ(model->notice(), flow.notice);
        for (const auto& [result, rest] : failures) {
            services->runResult = result;
            again.perform();
            settle();
            EXPECT_EQ(model->notice(), flow.failed + rest);
            expectOurWordsOnly(model->notice().value_or(""));
        }
        EXPECT_EQ(model->log().size(), logged + 1);
        EXPECT_EQ(diskReads, reads + 4);
        EXPECT_EQ(flow.reloads(), reloads + 4);
    }
    EXPECT_EQ(model->runtimes(), services->runtimeList);

    // A confirmation that outlives the model does nothing.
    const std::size_t runs = services->runCalls.size();
    model->confirmDelete({path("Library/Developer")}, true);
    const PendingAction deletion = *model->pendingAction();
    model->confirmDeleteUnavailableSims();
    const PendingAction tool = *model->pendingAction();
    model.reset();
    deletion.perform();
    tool.perform();
    settle();
    EXPECT_TRUE(exists(path("Library/Developer")));
    EXPECT_EQ(services->runCalls.size(), runs);
}

// Snapshots: listed as the user, who is told when only the administrator can
// list the rest, then through the helper; deleted with one prompt, each
// snapshot's result reported, the list the helper found afterwards shown.
TEST_F(ModelTest, SnapshotsAreListedAndDeletedThroughTheHelperWithOnePrompt) {
    makeModel();
    services->snapshotList = {kSnapshots[0]};
    services->snapshotsNeedAdministrator = true;
    model->loadSnapshots();
    settle();
    EXPECT_EQ(model->snapshots(), std::vector<LocalSnapshot>{kSnapshots[0]});
    EXPECT_TRUE(model->snapshotsNeedAdministrator());
    services->adminSnapshotList = kSnapshots;
    model->loadSnapshotsAsAdmin();
    settle();
    EXPECT_EQ(model->snapshots(), kSnapshots);
    EXPECT_FALSE(model->snapshotsNeedAdministrator());

    model->confirmDeleteSnapshots({});
    EXPECT_FALSE(model->pendingAction());
    model->confirmDeleteSnapshots(kSnapshots);
    ASSERT_TRUE(model->pendingAction());
    EXPECT_EQ(model->pendingAction()->title, "ローカルスナップショット 3 件を削除しますか？");
    EXPECT_EQ(model->pendingAction()->message,
              "管理者パスワードの入力が求められます。外部ディスクへのバックアップには影響しません。"
              "\n\n2024-05-01 10:10:10  Snapper (root #7)  before upgrade\n"
              "2024-05-02 11:11:11  Timeshift\n2024-05-03 12:12:12  Btrfs /mnt/ro");
    const PendingAction again = *model->pendingAction();
    struct Row {
        ShellResult run;
        std::vector<std::optional<std::string>> errors;
        std::optional<std::string> notice;
        std::string log;
    };
    const std::vector<Row> rows{
        {{0, "", ""},
         {},
         "削除しました。容量への反映には少し時間がかかることがあります。",
         "ローカルスナップショット 3 件を削除"},
        {{1, "", ""},
         {std::nullopt, "Snapshot busy",
          "読み出し専用の Btrfs スナップショットではないため、削除しません"},
         "削除に失敗しました:\n・2024-05-02 11:11:11  Timeshift: Snapshot busy\n"
         "・2024-05-03 12:12:12  Btrfs /mnt/ro: 読み出し専用の Btrfs "
         "スナップショットではないため、削除しません",
         "ローカルスナップショット 1 件を削除"},
        {{126, "", "認証が取り消されました (-128)"}, {}, std::nullopt, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.log);
        model->setNotice(std::nullopt);
        services->runResult = row.run;
        services->snapshotErrors = row.errors;
        const std::size_t logged = model->log().size();
        const int lists = services->lists.load();
        again.perform();
        settle();
        EXPECT_EQ(model->notice(), row.notice);
        EXPECT_EQ(model->log().size(), logged + (row.log.empty() ? 0 : 1));
        if (!row.log.empty()) {
            EXPECT_EQ(model->log().back().message, row.log);
        }
        EXPECT_EQ(services->lists.load(), lists + 1);  // the list is read again
    }
    EXPECT_FALSE(model->busyMessage());
}

}  // namespace
}  // namespace kelvane::test
