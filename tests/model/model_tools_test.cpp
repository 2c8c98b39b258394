#include <map>

#include "core/fmt.h"
#include "core/linux_catalog.h"
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
    makeFolder(".local/share/flatpak/runtime");
    // A system installation with a repository, so --unused runs for it too.
    makeFolder("system/var/lib/flatpak/repo");
    const ScopedEnv systemFlatpak("FLATPAK_SYSTEM_DIR", path("system/var/lib/flatpak"));
    makeFolder("system/var/lib/snapd/snaps");
    std::vector<CleanCategory> rows = Catalog::build(home, home + "/tmpbase", trashFiles());
    for (CleanCategory& row : LinuxCatalog::build(home, home + "/system")) rows.push_back(row);
    makeModel(rows);
    // Scans started of the rows measuring the tools' folders.
    std::map<std::string, int> scans;
    std::map<std::string, bool> scanning;
    model->subscribe([&](const ModelChange& change) {
        const std::string id = change.key.value_or("");
        if (id != "linux_flatpak" && id != "linux_snap") return;
        const bool now = model->state(id).status == Status::scanning;
        if (now && !scanning[id]) ++scans[id];
        scanning[id] = now;
    });
    const SimRuntime flatpak("runtime/org.gnome.Platform/x86_64/46", "org.gnome.Platform 46", "46",
                             "x86_64", "Flatpak", 6'543'210'000, "user", std::vector<std::string>{},
                             true);
    const SimRuntime snap("core22", "core22 20240111 (リビジョン 1122)", "20240111", "1122", "Snap",
                          77'000'000, "", std::vector<std::string>{}, true);
    struct Flow {
        std::function<void()> ask;
        std::string message;  // a piece of the confirmation's message
        std::vector<std::vector<std::string>> calls;
        std::string log, notice, failed;
        std::string rescanned;  // the row measured again after each run
    };
    const std::vector<std::string> unusedUser{"/usr/bin/flatpak", "uninstall", "--unused",
                                              "--noninteractive", "--user"};
    std::vector<std::string> unusedSystem = unusedUser;
    unusedSystem.back() = "--system";
    const std::vector<Flow> flows{
        {[&] { model->confirmDeleteRuntime(flatpak); },
         Fmt::bytes(flatpak.sizeBytes) +
             " を解放します。再度使う場合は Flatpak から再インストールが必要です。",
         {{"/usr/bin/flatpak", "uninstall", "--noninteractive", "--user", flatpak.id}},
         "ランタイム org.gnome.Platform 46 (ユーザー) を削除 (" + Fmt::bytes(flatpak.sizeBytes) +
             ")",
         "org.gnome.Platform 46 (ユーザー) を削除しました。",
         "削除に失敗しました:\n",
         "linux_flatpak"},
        {[&] { model->confirmDeleteRuntime(snap); },
         "再度使う場合は Snap から再インストールが必要です。",
         {{"/usr/bin/snap", "remove", "core22", "--revision=1122"}},
         "ランタイム core22 20240111 (リビジョン 1122) を削除 (" + Fmt::bytes(snap.sizeBytes) + ")",
         "core22 20240111 (リビジョン 1122) を削除しました。",
         "削除に失敗しました:\n",
         "linux_snap"},
        {[&] { model->confirmDeleteUnavailableSims(); },
         "(flatpak uninstall --unused)",
         {unusedUser, unusedSystem},
         "使用されていないランタイムを削除",
         "使用されていないランタイムを削除しました。",
         "失敗しました:\n",
         "linux_flatpak"},
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
    services->runtimeList = {flatpak, snap};
    for (const Flow& flow : flows) {
        SCOPED_TRACE(flow.log);
        services->runResult = {};
        flow.ask();
        ASSERT_TRUE(model->pendingAction());
        EXPECT_NE(model->pendingAction()->message.find(flow.message), std::string::npos);
        const PendingAction again = *model->pendingAction();
        const std::size_t logged = model->log().size();
        const int reads = diskReads;
        const int lists = services->lists.load();
        const std::map<std::string, int> scansBefore = scans;
        const std::size_t calls = services->runCalls.size();
        confirmAndSettle();
        EXPECT_EQ(std::vector(services->runCalls.begin() + static_cast<long>(calls),
                              services->runCalls.end()),
                  flow.calls);
        EXPECT_EQ(model->log().back().message, flow.log);
        EXPECT_EQ(model->notice(), flow.notice);
        for (const auto& [result, rest] : failures) {
            // Only the last run fails: the earlier ones went through.
            services->nextResults.assign(flow.calls.size() - 1, ShellResult{});
            services->runResult = result;
            again.perform();
            settle();
            EXPECT_EQ(model->notice(), flow.failed + rest);
            expectOurWordsOnly(model->notice().value_or(""));
        }
        EXPECT_EQ(model->log().size(), logged + 1);
        EXPECT_EQ(diskReads, reads + 4);
        EXPECT_EQ(services->lists.load(), lists + 4);
        std::map<std::string, int> expected = scansBefore;
        if (!flow.rescanned.empty()) expected[flow.rescanned] += 4;
        for (const char* id : {"linux_flatpak", "linux_snap"}) {
            EXPECT_EQ(scans[id], expected[id]) << id;
        }
    }
    EXPECT_EQ(model->runtimes(), services->runtimeList);

    // Both installations failing: both texts, neither lost. Pinned runtimes
    // that --unused kept are named after a success.
    services->nextResults = {{1, "", "ユーザー側"}};
    services->runResult = {4, "", "システム側"};
    model->confirmDeleteUnavailableSims();
    confirmAndSettle();
    EXPECT_EQ(model->notice(), "失敗しました:\nユーザー側\nシステム側");
    services->nextResults = {
        {0,
         "\nThese runtimes in installation 'user' are pinned and won't be "
         "removed; see flatpak-pin(1):\n  runtime/org.kelvane.TestPlatform/x86_64/1.0\n",
         ""}};
    services->runResult = {0, "Nothing unused to uninstall\n", ""};
    model->confirmDeleteUnavailableSims();
    confirmAndSettle();
    const std::string notice = model->notice().value_or("");
    EXPECT_TRUE(notice.starts_with("使用されていないランタイムを削除しました。\n\n")) << notice;
    EXPECT_TRUE(notice.ends_with("\nruntime/org.kelvane.TestPlatform/x86_64/1.0 (ユーザー)"))
        << notice;

    EXPECT_FALSE(model->runtimesLoading());

    // A confirmation that outlives the model does nothing.
    const std::size_t runs = services->runCalls.size();
    model->confirmDelete({path(".local/share/flatpak")}, true);
    const PendingAction deletion = *model->pendingAction();
    model->confirmDeleteUnavailableSims();
    const PendingAction tool = *model->pendingAction();
    model.reset();
    deletion.perform();
    tool.perform();
    settle();
    EXPECT_TRUE(exists(path(".local/share/flatpak")));
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
