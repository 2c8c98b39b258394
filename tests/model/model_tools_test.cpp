#include "core/fmt.h"
#include "model_fixture.h"

namespace kelvane::test {
namespace {

using Status = CategoryState::Status;

class ToolsTest : public ModelTest {
  protected:
    void SetUp() override {
        ModelTest::SetUp();
        makeFolder("Library/Developer/CoreSimulator/Devices/A1");
        makeModel();
        model->subscribe([this](const ModelChange& change) {
            if (change.field == ModelField::snapshotsLoading && model->snapshotsLoading())
                ++snapshotLoads;
            if (change.field == ModelField::runtimesLoading && model->runtimesLoading())
                ++runtimeLoads;
            if (change.field == ModelField::states && change.key == "sim_devices") {
                const Status now = model->state("sim_devices").status;
                if (now == Status::scanning && simStatus != Status::scanning) ++simScans;
                simStatus = now;
            }
        });
    }

    int snapshotLoads = 0;
    int runtimeLoads = 0;
    int simScans = 0;
    Status simStatus = Status::idle;
};

const std::vector<std::string> kDates{"2024-05-01-101010", "2024-05-02-111111",
                                      "2024-05-03-121212"};

TEST_F(ToolsTest, LoadsReplaceTheWholeList) {
    services->snapshotList = kDates;
    model->loadSnapshots();
    EXPECT_TRUE(model->snapshotsLoading());
    settle();
    EXPECT_FALSE(model->snapshotsLoading());
    EXPECT_EQ(model->snapshots(), kDates);
    services->snapshotList = {};
    model->loadSnapshots();
    settle();
    EXPECT_TRUE(model->snapshots().empty());

    services->runtimeList = {SimRuntime{"R1", "iOS 17.2", "17.2", "21C62", "iOS", 7'000'000'000,
                                        "Ready", true, std::nullopt}};
    model->loadRuntimes();
    EXPECT_TRUE(model->runtimesLoading());
    settle();
    EXPECT_FALSE(model->runtimesLoading());
    EXPECT_EQ(model->runtimes(), services->runtimeList);
}

TEST_F(ToolsTest, DeletingSnapshots) {
    model->confirmDeleteSnapshots({});
    EXPECT_FALSE(model->pendingAction());

    model->confirmDeleteSnapshots(kDates);
    ASSERT_TRUE(model->pendingAction());
    EXPECT_EQ(model->pendingAction()->title, "ローカルスナップショット 3 件を削除しますか？");
    EXPECT_EQ(model->pendingAction()->message,
              "管理者パスワードの入力が求められます。Time Machine "
              "の外部バックアップには影響しません。\n\n2024-05-01-101010\n2024-05-02-111111\n"
              "2024-05-03-121212");
    EXPECT_EQ(model->pendingAction()->destructiveLabel, "削除");
    const PendingAction again = *model->pendingAction();

    services->snapshotList = {"2024-05-04-000000"};
    const int reads = diskReads;
    confirm();
    EXPECT_EQ(model->busyMessage(), "スナップショットを削除中…");
    settle();
    EXPECT_EQ(services->snapshotDeleteCalls, (std::vector<std::vector<std::string>>{kDates}));
    EXPECT_EQ(model->busyMessage(), std::nullopt);
    ASSERT_EQ(model->log().size(), 1u);
    EXPECT_EQ(model->log().back().message, "ローカルスナップショット 3 件を削除");
    EXPECT_FALSE(model->log().back().isError);
    EXPECT_EQ(model->notice(), "削除しました。容量への反映には少し時間がかかることがあります。");
    EXPECT_EQ(model->snapshots(), services->snapshotList);
    EXPECT_EQ(snapshotLoads, 1);
    EXPECT_EQ(diskReads, reads + 1);

    // A cancelled password dialog: silent, but the list is read again.
    model->setNotice(std::nullopt);
    services->snapshotDeleteResult = {1, "", "execution error: User canceled. (-128)"};
    services->snapshotList = {};
    again.perform();
    settle();
    EXPECT_EQ(model->notice(), std::nullopt);
    EXPECT_EQ(model->log().size(), 1u);
    EXPECT_TRUE(model->snapshots().empty());
    EXPECT_EQ(snapshotLoads, 2);

    services->snapshotDeleteResult = {1, "\n  out text", "err text \n"};
    again.perform();
    settle();
    EXPECT_EQ(model->notice(), "削除に失敗しました:\nout text\nerr text");
    EXPECT_EQ(model->log().size(), 1u);
    EXPECT_EQ(snapshotLoads, 3);
    EXPECT_EQ(diskReads, reads + 3);
}

TEST_F(ToolsTest, DeletingARuntime) {
    const SimRuntime runtime{"5E1F-AB",     "iOS 17.2", "17.2", "21C62",     "iOS",
                             6'543'210'000, "Ready",    true,   std::nullopt};
    model->confirmDeleteRuntime(runtime);
    ASSERT_TRUE(model->pendingAction());
    EXPECT_EQ(model->pendingAction()->title, "iOS 17.2 を削除しますか？");
    EXPECT_EQ(model->pendingAction()->message,
              Fmt::bytes(6'543'210'000) +
                  " を解放します。再度使う場合は Xcode から再ダウンロードが必要です。");
    EXPECT_EQ(model->pendingAction()->destructiveLabel, "削除");
    const PendingAction again = *model->pendingAction();

    confirm();
    EXPECT_EQ(model->busyMessage(), "ランタイムを削除中…");
    settle();
    EXPECT_EQ(services->runCalls,
              (std::vector<std::vector<std::string>>{
                  {"/usr/bin/xcrun", "simctl", "runtime", "delete", "5E1F-AB"}}));
    EXPECT_EQ(model->log().back().message,
              "ランタイム iOS 17.2 を削除 (" + Fmt::bytes(6'543'210'000) + ")");
    EXPECT_EQ(model->notice(), "iOS 17.2 を削除しました。");
    EXPECT_EQ(runtimeLoads, 1);

    services->runResult = {1, "  Error: runtime busy\n", "\n detail \n"};
    again.perform();
    settle();
    EXPECT_EQ(model->notice(), "削除に失敗しました:\nError: runtime busy\n\n\n detail");
    EXPECT_EQ(model->log().size(), 1u);
    EXPECT_EQ(runtimeLoads, 2);
    EXPECT_EQ(model->busyMessage(), std::nullopt);
}

TEST_F(ToolsTest, RemovingUnavailableSimulatorsRescansTheDevicesEvenOnFailure) {
    model->confirmDeleteUnavailableSims();
    ASSERT_TRUE(model->pendingAction());
    EXPECT_EQ(model->pendingAction()->title, "使用不可のシミュレータを削除しますか？");
    EXPECT_EQ(model->pendingAction()->message,
              "対応するランタイムが無くなった古いシミュレータデバイスを削除します (xcrun simctl "
              "delete unavailable)。");
    EXPECT_EQ(model->pendingAction()->destructiveLabel, "削除");
    const PendingAction again = *model->pendingAction();

    const int reads = diskReads;
    confirm();
    EXPECT_EQ(model->busyMessage(), "シミュレータを整理中…");
    settle();
    EXPECT_EQ(services->runCalls, (std::vector<std::vector<std::string>>{
                                      {"/usr/bin/xcrun", "simctl", "delete", "unavailable"}}));
    EXPECT_EQ(model->log().back().message, "使用不可のシミュレータを削除");
    EXPECT_EQ(model->notice(), "使用不可のシミュレータを削除しました。");
    EXPECT_EQ(simScans, 1);
    EXPECT_EQ(model->state("sim_devices").status, Status::done);
    EXPECT_EQ(diskReads, reads + 1);

    services->runResult = {-1, "", "/usr/bin/xcrun: No such file or directory"};
    again.perform();
    settle();
    EXPECT_EQ(model->notice(), "失敗しました:\n/usr/bin/xcrun: No such file or directory");
    EXPECT_EQ(model->log().size(), 1u);
    EXPECT_EQ(simScans, 2);
    EXPECT_EQ(runtimeLoads, 0);
    EXPECT_EQ(diskReads, reads + 2);
}

TEST_F(ToolsTest, AConfirmationOutlivingTheModelRunsNoTool) {
    model->confirmDeleteUnavailableSims();
    const PendingAction action = *model->pendingAction();
    model.reset();
    action.perform();
    settle();
    EXPECT_TRUE(services->runCalls.empty());
}

}  // namespace
}  // namespace kelvane::test
