#include "model_fixture.h"

namespace kelvane::test {
namespace {

using Status = CategoryState::Status;

TEST_F(ModelTest, AddedFoldersOpenThemselvesAreScannedOnceAndRemoved) {
    makeFile("Projects/src/main.c", 50'000);
    makeFile("Projects/README", 100);
    makeModel();
    // What the window does: it opens the new selection at once.
    int scansStarted = 0;
    model->subscribe([&](const ModelChange& c) {
        if (c.field == ModelField::selectedID) model->didChangeSelection();
        if (c.field == ModelField::scanTasks && model->scanTasks().count(*c.key) != 0)
            ++scansStarted;
    });
    services->folderToChoose = path("Projects");
    model->addCustomFolder();
    const std::string id = "custom:" + path("Projects");
    EXPECT_EQ(model->categories().back().name, "~/Projects");
    EXPECT_EQ(model->selectedID(), std::optional<std::string>(id));
    EXPECT_EQ(scansStarted, 1);
    EXPECT_EQ(model->browserPath(), path("Projects"));
    settle();
    ASSERT_EQ(model->entries().size(), 2u);
    EXPECT_EQ(model->entries()[0].path, path("Projects/src"));

    // Again: one category, not reset, rescanned.
    model->addCustomFolder();
    EXPECT_EQ(model->categories().size(), 36u);
    EXPECT_EQ(model->state(id).status, Status::scanning);
    EXPECT_EQ(scansStarted, 2);
    settle();
    services->folderToChoose = std::nullopt;  // the chooser was cancelled
    model->addCustomFolder();
    EXPECT_EQ(model->categories().size(), 36u);

    makeFolder("a");
    makeFolder("b");
    services->folderToChoose = path("a");
    model->addCustomFolder();
    const CleanCategory a = model->categories().back();
    services->folderToChoose = path("b");
    model->addCustomFolder();
    const CleanCategory b = model->categories().back();
    // Removed while scanning and unselected: the selection stays, the late
    // finish changes nothing.
    model->removeCustomFolder(a);
    EXPECT_EQ(model->selectedID(), std::optional<std::string>(b.id));
    // Removed while selected: back to the overview.
    model->removeCustomFolder(b);
    EXPECT_EQ(model->selectedID(), std::optional<std::string>("__overview__"));
    settle();
    EXPECT_EQ(model->states().count(a.id), 0u);
    EXPECT_EQ(model->categories().size(), 36u);
    // Catalog rows cannot be removed.
    model->removeCustomFolder(model->categories()[29]);
    EXPECT_EQ(model->categories().size(), 36u);
    EXPECT_EQ(model->states().count("trash"), 1u);
}

TEST_F(ModelTest, ACustomFolderIsItsExactPathWhateverItsName) {
    // Each chosen folder next to siblings its name would match as a pattern.
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases{
        {"proj*", {"proj-thesis", "projects"}}, {"a?b", {"acb"}}, {"[x]", {"x"}}};
    for (const auto& [name, siblings] : cases) {
        makeFile(name + "/inside", 100);
        for (const std::string& sibling : siblings) makeFile(sibling + "/inside", 100);
    }
    makeModel(std::vector<CleanCategory>{});
    for (const auto& [name, siblings] : cases) {
        SCOPED_TRACE(name);
        services->folderToChoose = path(name);
        model->addCustomFolder();
        settle();
        const CleanCategory added = model->categories().back();
        EXPECT_EQ(model->state(added.id).roots, std::vector<std::string>{path(name)});
        model->confirmCleanCategory(added, true);
        ASSERT_TRUE(model->pendingAction());
        EXPECT_TRUE(model->pendingAction()->message.starts_with("1 項目 / 約 "));
        confirm();
        settle();
        EXPECT_TRUE(exists(path(name)));
        EXPECT_FALSE(exists(path(name + "/inside")));
        for (const std::string& sibling : siblings)
            EXPECT_TRUE(exists(path(sibling + "/inside"))) << sibling;
    }
}

}  // namespace
}  // namespace kelvane::test
