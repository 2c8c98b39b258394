#include <unistd.h>

#include <future>
#include <thread>

#include "model_fixture.h"

namespace kelvane::test {
namespace {

using Status = CategoryState::Status;

// Once armed, holds the next background thread that posts to the main queue
// until released: a scan's first progress report pauses its walk there.
class HoldingQueue : public ManualMainQueue {
  public:
    void post(Step step) override {
        if (std::this_thread::get_id() != main_ && armed.exchange(false)) {
            held.set_value();
            released.get_future().wait();
        }
        ManualMainQueue::post(std::move(step));
    }
    std::atomic<bool> armed{false};
    std::promise<void> held, released;

  private:
    const std::thread::id main_ = std::this_thread::get_id();
};

// Every slot taken, so that scans started now wait for the test.
std::vector<ScanLimiter::Slot> holdEverySlot(ScanLimiter& limiter) {
    std::vector<ScanLimiter::Slot> held;
    for (int i = 0; i < limiter.limit(); ++i) held.push_back(limiter.acquire());
    return held;
}

TEST_F(ModelTest, MissingFoldersAndFileRoots) {
    makeFile("v/f", 4096);
    makeFile("m/dir/f", 40'960);
    makeFile("m/file.bin", 100'000);
    makeModel({{folderCategory("gone", {path("nothing"), path("no/*/where")}),
                folderCategory("v", {path("v")}), folderCategory("m", {path("m/*")})}});
    // The first scan of "v" waits while its folder vanishes and it is
    // scanned again: that old scan's end must not turn "missing" into "done".
    std::vector<ScanLimiter::Slot> held = holdEverySlot(model->limiter());
    for (const CleanCategory& category : model->categories()) model->scan(category);
    std::filesystem::remove_all(path("v"));
    model->scan(model->categories()[1]);
    held.clear();
    settle();
    for (const std::string id : {"gone", "v"}) {
        EXPECT_EQ(model->state(id).status, Status::missing) << id;
        EXPECT_EQ(model->state(id).bytes, 0) << id;
    }
    EXPECT_TRUE(model->scanTasks().empty());
    // A root that is a file counts nothing, at the finish and after.
    EXPECT_EQ(model->state("m").roots,
              (std::vector<std::string>{path("m/dir"), path("m/file.bin")}));
    EXPECT_EQ(model->state("m").bytes, fresh(path("m/dir")));
    model->refreshCategorySizes();
    EXPECT_EQ(model->state("m").bytes, fresh(path("m/dir")));
}

TEST_F(ModelTest, ASecondScanSupersedesTheFirst) {
    makeFile("a/one", 8192);
    makeModel({{folderCategory("a", {path("a")})}});
    // Every "done" comes from the newer scan: the superseded one's finish is
    // ignored, also while the newer one runs.
    std::vector<bool> doneFromNewest;
    model->subscribe([&](const ModelChange& c) {
        const auto task = model->scanTasks().find("a");
        if (c.field == ModelField::states && model->state("a").status == Status::done)
            doneFromNewest.push_back(task != model->scanTasks().end() &&
                                     !task->second.isCancelled());
    });
    std::vector<ScanLimiter::Slot> held = holdEverySlot(model->limiter());
    model->scan(model->categories()[0]);
    model->scan(model->categories()[0]);
    held.clear();
    settle();
    EXPECT_EQ(doneFromNewest, std::vector<bool>{true});
    EXPECT_EQ(model->state("a").bytes, fresh(path("a")));
}

TEST_F(ModelTest, NestedTotalsSurviveADeletionDuringAnEnclosingScan) {
    // w ⊃ a ⊃ b; the walk of a pauses inside b/junk, after taking w/a and
    // b out of the store and listing junk, and junk is deleted meanwhile.
    const auto holding = std::make_shared<HoldingQueue>();
    queue = holding;
    makeFile("w/other", 20'000);
    makeFile("w/a/b/keep", 30'000);
    makeFile("w/a/b/junk/blob", 500'000);
    for (int i = 0; i < 4100; ++i) std::ofstream(path("w/a/b/junk/f" + std::to_string(i)));
    makeModel({{folderCategory("w", {path("w")}), folderCategory("a", {path("w/a")}),
                folderCategory("b", {path("w/a/b")})}});
    model->scan(model->categories()[0]);
    settle();
    model->scan(model->categories()[2]);
    settle();
    holding->armed = true;
    model->scan(model->categories()[1]);
    holding->held.get_future().wait();
    model->confirmDelete({path("w/a/b/junk")}, true);
    confirm();
    EXPECT_TRUE(queue->drainUntil([&] { return !model->busyMessage(); }));
    holding->released.set_value();
    settle();
    for (const CleanCategory& category : model->categories()) {
        EXPECT_EQ(model->state(category.id).status, Status::done) << category.id;
        EXPECT_EQ(model->state(category.id).bytes, fresh(category.patterns[0])) << category.id;
    }
}

TEST_F(ModelTest, StoppingAScanRecordsWhatTheStoreHoldsAndRemeasuresWhatItCleared) {
    makeFile("r1/f", 4096);
    makeFile("r1/sub/f", 4096);
    makeFile("r2/f", 8192);
    makeFile("elsewhere/f", 40'960);
    ASSERT_EQ(::symlink(path("elsewhere").c_str(), path("r1/link").c_str()), 0);
    makeModel(
        {{folderCategory("two", {path("r1"), path("r2")}),
          folderCategory("inner", {path("r1/sub")}), folderCategory("linked", {path("r1/link")})}});
    scanEach();
    const std::int64_t full = model->state("two").bytes;

    // Stopped before its first root: nothing was removed, the earlier sizes
    // stand. An inner root the stopped walk had cleared is measured again.
    std::vector<ScanLimiter::Slot> held = holdEverySlot(model->limiter());
    model->scan(model->categories()[0]);
    model->scanTasks().at("two").cancel();
    model->store().removeSubtree(path("r1/sub"));
    held.clear();
    settle();
    const CategoryState s = model->state("two");
    EXPECT_EQ(s.status, Status::done);
    EXPECT_EQ(s.bytes, full);
    EXPECT_EQ(s.files, 0);
    EXPECT_EQ(model->store().size(path("r1/sub")), fresh(path("r1/sub")));
    EXPECT_EQ(model->state("inner").bytes, fresh(path("r1/sub")));
    // A root below a link is one the enclosing walk never records.
    model->scan(model->categories()[0]);
    settle();
    model->refreshCategorySizes();
    EXPECT_EQ(model->state("linked").bytes, fresh(path("r1/link")));
}

TEST_F(ModelTest, ScanAllRescansMeasuredFoldersAndRereadsTheDisk) {
    makeFile("launch/f", 100);
    makeFile("opened/f", 100);
    makeFile("never/f", 100);
    makeModel({{folderCategory("launch", {path("launch")}),
                folderCategory("opened", {path("opened")}, false),
                folderCategory("never", {path("never")}, false)}});
    model->scan(model->categories()[1]);
    settle();
    makeFile("opened/g", 50'000);
    const int readsBefore = diskReads;
    model->scanAll();
    EXPECT_EQ(diskReads, readsBefore + 1);  // re-read at once, not after the scans
    EXPECT_EQ(model->state("launch").status, Status::scanning);
    EXPECT_EQ(model->state("opened").status, Status::scanning);
    EXPECT_EQ(model->state("never").status, Status::idle);
    settle();
    EXPECT_EQ(model->state("opened").files, 2);
}

}  // namespace
}  // namespace kelvane::test
