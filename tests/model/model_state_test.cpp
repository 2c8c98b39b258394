#include <algorithm>

#include "model_fixture.h"
#include "scan/scanner.h"
#include "test_user.h"

namespace kelvane::test {
namespace {

using Status = CategoryState::Status;

TEST_F(ModelTest, ConstructionStartsIdleOnTheOverview) {
    makeModel();
    EXPECT_EQ(model->categories().size(), 35u);
    EXPECT_EQ(model->states().size(), 35u);
    for (const auto& [id, s] : model->states()) EXPECT_EQ(s.status, Status::idle) << id;
    EXPECT_EQ(model->selectedID(), std::optional<std::string>("__overview__"));
    EXPECT_FALSE(model->selectedCategory());
    EXPECT_TRUE(model->log().empty());
    EXPECT_EQ(model->limiter().limit(), 4);
    EXPECT_EQ(diskReads, 1);
    EXPECT_TRUE(model->disk().has_value());

    // Unknown ids answer idle without growing the map; unknown or absent
    // selections select nothing.
    EXPECT_EQ(model->state("nope").status, Status::idle);
    EXPECT_EQ(model->states().count("nope"), 0u);
    model->setSelectedID(std::string("nope"));
    EXPECT_FALSE(model->selectedCategory());
    model->setSelectedID(std::nullopt);
    EXPECT_FALSE(model->selectedCategory());
    model->setSelectedID(std::string("trash"));
    ASSERT_TRUE(model->selectedCategory());
    EXPECT_EQ(model->selectedCategory()->name, "ゴミ箱");
}

TEST_F(ModelTest, EqualValuesNotifyNobody) {
    makeModel();
    std::vector<ModelField> seen;
    model->subscribe([&](const ModelChange& c) { seen.push_back(c.field); });
    model->setSelectedID(std::string("__overview__"));
    model->setBrowserPath(std::nullopt);
    model->setEntrySelection({});
    model->setNotice(std::nullopt);
    EXPECT_TRUE(seen.empty());
    model->setNotice(std::string("x"));
    model->setNotice(std::string("x"));
    model->addLog("a", false);
    EXPECT_EQ(seen, (std::vector<ModelField>{ModelField::notice, ModelField::log}));
}

TEST_F(ModelTest, LogKeepsTheNewest200) {
    makeModel();
    for (int i = 1; i <= 250; ++i) model->addLog(std::to_string(i), i % 2 == 0);
    ASSERT_EQ(model->log().size(), 200u);
    EXPECT_EQ(model->log().front().message, "51");
    EXPECT_EQ(model->log().back().message, "250");
    EXPECT_TRUE(model->log().back().isError);
}

TEST_F(ModelTest, InitialSelectionArrivesAfterOneAndAHalfSeconds) {
    services->initial = "trash";
    makeModel();
    queue->drain();
    EXPECT_EQ(model->selectedID(), std::optional<std::string>("__overview__"));
    queue->advance(std::chrono::milliseconds(1499));
    queue->drain();
    EXPECT_EQ(model->selectedID(), std::optional<std::string>("__overview__"));
    queue->advance(std::chrono::milliseconds(1));
    queue->drain();
    EXPECT_EQ(model->selectedID(), std::optional<std::string>("trash"));
}

TEST_F(ModelTest, EmptyInitialSelectionSchedulesNothing) {
    services->initial = "";
    makeModel();
    EXPECT_EQ(queue->pendingDelayed(), 0u);
}

TEST_F(ModelTest, FullDiskAccessProbeFollowsTheFolder) {
    // Root lists every folder, so the denied half runs as kelvane-test.
    if (::geteuid() == 0 && !testUserFolder()) {
        if (!canRerunAsTestUser()) GTEST_SKIP() << "needs runuser and the kelvane-test account";
        EXPECT_EQ(rerunAsTestUser("-"), 0) << "the checks run as kelvane-test failed (see above)";
        return;
    }
    makeFolder("Library/Safari");
    makeModel();
    EXPECT_FALSE(model->fullDiskAccessDenied());
    ASSERT_EQ(::chmod(path("Library/Safari").c_str(), 0), 0);
    model->checkFullDiskAccess();
    EXPECT_TRUE(model->fullDiskAccessDenied());
    ASSERT_EQ(::chmod(path("Library/Safari").c_str(), 0755), 0);
    model->checkFullDiskAccess();
    EXPECT_FALSE(model->fullDiskAccessDenied());
}

TEST_F(ModelTest, LaunchScanMeasuresEveryExistingCategory) {
    makeFile("Library/Caches/com.a/blob", 40'000);
    makeFile("Library/Caches/Homebrew/bottle.tar.gz", 120'000);
    makeFile("Library/Logs/app.log", 9'000);
    makeFile(".npm/_cacache/index", 5'000);
    makeFile(".yarn/cache/pkg.zip", 7'000);
    makeTrashed("old.txt", 3'000);
    makeFile("Library/Containers/com.x/Data/Library/Caches/c", 11'000);
    makeFile("Library/Containers/.hidden/Data/Library/Caches/c", 13'000);
    makeModel();

    std::size_t mostAtOnce = 0;
    model->subscribe([&](const ModelChange&) {
        mostAtOnce = std::max<std::size_t>(mostAtOnce, model->limiter().active());
    });
    model->startInitialScan();
    settle();
    EXPECT_LE(mostAtOnce, 4u);
    EXPECT_TRUE(model->scanTasks().empty());

    for (const CleanCategory& c : model->categories()) {
        const CategoryState s = model->state(c.id);
        if (!c.scanOnLaunch || c.kind != CategoryKind::folders) {
            EXPECT_EQ(s.status, Status::idle) << c.id;
            continue;
        }
        if (s.roots.empty()) {
            EXPECT_EQ(s.status, Status::missing) << c.id;
            continue;
        }
        EXPECT_EQ(s.status, Status::done) << c.id;
        EXPECT_TRUE(s.lastScan.has_value()) << c.id;
        // The total is what an independent walk of the same roots measures.
        SizeStore fresh;
        std::int64_t expected = 0;
        for (const std::string& root : s.roots) {
            Scanner::scan(root, fresh);
            expected += fresh.size(root).value_or(0);
        }
        EXPECT_EQ(s.bytes, expected) << c.id;
        EXPECT_GT(s.bytes, 0) << c.id;
    }
    EXPECT_EQ(model->state("node_caches").roots,
              (std::vector<std::string>{path(".npm/_cacache"), path(".yarn/cache")}));
    // Both container caches, the hidden one included, in byte order.
    EXPECT_EQ(model->state("container_caches").roots,
              (std::vector<std::string>{path("Library/Containers/.hidden/Data/Library/Caches"),
                                        path("Library/Containers/com.x/Data/Library/Caches")}));
    EXPECT_EQ(model->state("derived_data").status, Status::missing);
}

}  // namespace
}  // namespace kelvane::test
