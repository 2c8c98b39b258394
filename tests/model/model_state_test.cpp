#include "model_fixture.h"
#include "support/run_as_test_user.h"

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

TEST_F(ModelTest, EqualValuesNotifyNobodyAndTheLogKeepsTheNewest200) {
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

    // With "a", 250 entries in all.
    for (int i = 2; i <= 250; ++i) model->addLog(std::to_string(i), i % 2 == 0);
    ASSERT_EQ(model->log().size(), 200u);
    EXPECT_EQ(model->log().front().message, "51");
    EXPECT_EQ(model->log().back().message, "250");
    EXPECT_TRUE(model->log().back().isError);
}

TEST_F(ModelTest, InitialSelectionArrivesAfterOneAndAHalfSeconds) {
    services->initial = "";
    makeModel();
    EXPECT_EQ(queue->pendingDelayed(), 0u);  // an empty selection schedules nothing
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

TEST_F(ModelTest, FullDiskAccessProbeFollowsTheFolder) {
    // Root lists every folder, so the denied half runs as kelvane-test.
    if (::geteuid() == 0 && !testUserFolder()) {
        if (!canRunAsTestUser()) GTEST_SKIP() << "needs runuser and the kelvane-test account";
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

}  // namespace
}  // namespace kelvane::test
