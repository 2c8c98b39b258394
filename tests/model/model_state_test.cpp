#include "model_fixture.h"

namespace kelvane::test {
namespace {

TEST_F(ModelTest, NotificationsUnknownIdsAndTheLogLimit) {
    makeModel();
    std::vector<ModelField> seen;
    model->subscribe([&](const ModelChange& c) { seen.push_back(c.field); });
    // Equal values notify nobody.
    model->setSelectedID(std::string("__overview__"));
    model->setBrowserPath(std::nullopt);
    model->setEntrySelection({});
    model->setNotice(std::nullopt);
    EXPECT_TRUE(seen.empty());
    model->setNotice(std::string("x"));
    model->setNotice(std::string("x"));
    EXPECT_EQ(seen, std::vector<ModelField>{ModelField::notice});

    // Unknown ids answer idle without growing the map, and select nothing.
    EXPECT_EQ(model->state("nope").status, CategoryState::Status::idle);
    EXPECT_EQ(model->states().count("nope"), 0u);
    model->setSelectedID(std::string("nope"));
    EXPECT_FALSE(model->selectedCategory());
    model->setSelectedID(std::string("trash"));
    EXPECT_EQ(model->selectedCategory()->name, "ゴミ箱");

    for (int i = 1; i <= 250; ++i) model->addLog(std::to_string(i), i % 2 == 0);
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
    queue->advance(std::chrono::milliseconds(1499));
    queue->drain();
    EXPECT_EQ(model->selectedID(), std::optional<std::string>("__overview__"));
    queue->advance(std::chrono::milliseconds(1));
    queue->drain();
    EXPECT_EQ(model->selectedID(), std::optional<std::string>("trash"));
}

}  // namespace
}  // namespace kelvane::test
