#include "model_fixture.h"

namespace kelvane::test {
namespace {

using Status = CategoryState::Status;

TEST_F(ModelTest, MissingRootsStartNoTask) {
    makeModel({{folderCategory("gone", {path("nothing"), path("no/*/where")})}});
    model->scan(model->categories()[0]);
    const CategoryState s = model->state("gone");
    EXPECT_EQ(s.status, Status::missing);
    EXPECT_TRUE(s.roots.empty());
    EXPECT_TRUE(model->scanTasks().empty());
}

TEST_F(ModelTest, ASecondScanSupersedesTheFirst) {
    makeFile("a/one", 8192);
    makeModel({{folderCategory("a", {path("a")})}});
    // The first "done" must come from the newer scan: the superseded task's
    // finish is ignored while the newer one runs. (Should the old finish
    // arrive only after the newer one ended, it may record again; that is
    // harmless and not what this checks.)
    std::optional<bool> firstDoneFromNewest;
    model->subscribe([&](const ModelChange& c) {
        if (c.field != ModelField::states || firstDoneFromNewest) return;
        if (model->state("a").status != Status::done) return;
        const auto task = model->scanTasks().find("a");
        firstDoneFromNewest = task != model->scanTasks().end() && !task->second.isCancelled();
    });
    // Hold every slot so both scans queue, then let them run.
    std::vector<ScanLimiter::Slot> held;
    for (int i = 0; i < 4; ++i) held.push_back(model->limiter().acquire());
    model->scan(model->categories()[0]);
    const TaskHandle first = model->scanTasks().at("a");
    model->scan(model->categories()[0]);
    EXPECT_TRUE(first.isCancelled());
    EXPECT_FALSE(model->scanTasks().at("a").isCancelled());
    held.clear();
    settle();
    EXPECT_EQ(firstDoneFromNewest, std::optional<bool>(true));
    EXPECT_EQ(model->state("a").status, Status::done);
    EXPECT_EQ(model->state("a").bytes, model->store().size(path("a")).value());
    EXPECT_EQ(model->state("a").files, 1);
}

TEST_F(ModelTest, NestedCategoriesKeepTheirOwnTotals) {
    // The outer category's scan clears the inner root from the store before
    // walking it again; the inner category must still end with its size.
    for (int i = 0; i < 50; ++i) makeFile("outer/x" + std::to_string(i) + "/f", 4096);
    makeFile("outer/inner/f", 40'960);
    makeModel({{folderCategory("outer", {path("outer")}),
                folderCategory("inner", {path("outer/inner")})}});
    for (int round = 0; round < 20; ++round) {
        model->startInitialScan();
        settle();
        EXPECT_GE(model->state("inner").bytes, 40'960) << "round " << round;
    }
}

TEST_F(ModelTest, StoppingAScanRecordsWhatTheStoreHolds) {
    makeFile("r1/f", 4096);
    makeFile("r2/f", 8192);
    makeModel({{folderCategory("two", {path("r1"), path("r2")})}});
    model->scan(model->categories()[0]);
    settle();
    const std::int64_t full = model->state("two").bytes;
    ASSERT_GT(full, 0);

    // Stopped before its first root: nothing was removed, the earlier sizes stand.
    std::vector<ScanLimiter::Slot> held;
    for (int i = 0; i < 4; ++i) held.push_back(model->limiter().acquire());
    model->scan(model->categories()[0]);
    EXPECT_EQ(model->state("two").status, Status::scanning);
    EXPECT_EQ(model->state("two").bytes, 0);
    model->scanTasks().at("two").cancel();
    held.clear();
    settle();
    const CategoryState s = model->state("two");
    EXPECT_EQ(s.status, Status::done);
    EXPECT_EQ(s.bytes, full);
    EXPECT_EQ(s.files, 0);
    EXPECT_EQ(model->limiter().active(), 0);
    EXPECT_TRUE(model->scanTasks().empty());
}

TEST_F(ModelTest, ScanAllRescansMeasuredFoldersAndRereadsTheDisk) {
    makeFile("launch/f", 100);
    makeFile("opened/f", 100);
    makeFile("never/f", 100);
    makeModel(
        {{folderCategory("launch", {path("launch")}),
          folderCategory("opened", {path("opened")}, false),
          folderCategory("never", {path("never")}, false),
          CleanCategory{
              "rt", "g", "rt", "i", "", Risk::safe, CategoryKind::runtimes, {}, true, false}}});
    model->scan(model->categories()[1]);
    settle();
    makeFile("opened/g", 50'000);
    const int readsBefore = diskReads;
    model->scanAll();
    EXPECT_EQ(diskReads, readsBefore + 1);  // re-read at once, not after the scans
    EXPECT_EQ(model->state("launch").status, Status::scanning);
    EXPECT_EQ(model->state("opened").status, Status::scanning);
    EXPECT_EQ(model->state("never").status, Status::idle);
    EXPECT_EQ(model->state("rt").status, Status::idle);
    settle();
    EXPECT_EQ(model->state("opened").files, 2);
}

TEST_F(ModelTest, RefreshTakesSizesFromTheStoreForDoneCategoriesOnly) {
    makeFile("c/sub/f", 40'960);
    makeModel({{folderCategory("c", {path("c")})}});
    model->scan(model->categories()[0]);
    settle();
    const std::int64_t before = model->state("c").bytes;
    model->store().removeSubtree(path("c/sub"));
    model->store().adjust(path("c/sub"), -4096);
    model->refreshCategorySizes();
    EXPECT_EQ(model->state("c").bytes, before - 4096);
}

}  // namespace
}  // namespace kelvane::test
