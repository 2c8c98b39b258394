#include "model_fixture.h"

namespace kelvane::test {
namespace {

using Status = CategoryState::Status;

std::vector<std::string> names(const std::vector<Entry>& entries) {
    std::vector<std::string> out;
    for (const Entry& e : entries) out.push_back(e.name);
    return out;
}

Entry entryOf(std::string name, std::optional<std::int64_t> size, bool isDir = false) {
    return Entry{"/x/" + name, std::move(name), isDir, false, false, size, std::nullopt};
}

TEST(DisplayOrder, BiggestFirstUnknownLastTiesStable) {
    std::vector<Entry> list{entryOf("a", 5), entryOf("b", std::nullopt, true), entryOf("c", 9),
                            entryOf("d", 5)};
    AppModel::sortForDisplay(list);
    EXPECT_EQ(names(list), (std::vector<std::string>{"c", "a", "d", "b"}));
    list[3].size = 7;
    AppModel::sortForDisplay(list);
    EXPECT_EQ(names(list), (std::vector<std::string>{"c", "b", "a", "d"}));
}

TEST_F(ModelTest, OpeningAMeasuredOneRootCategoryListsItsChildrenSorted) {
    makeFile("cache/small", 1000);
    makeFile("cache/big/blob", 200'000);
    makeFile("cache/mid/blob", 50'000);
    makeModel({{folderCategory("c", {path("cache")})}});
    model->scan(model->categories()[0]);
    settle();
    // A folder that appeared after the scan has no recorded size yet.
    makeFile("cache/late/blob", 100'000);

    model->setSelectedID(std::string("c"));
    model->didChangeSelection();
    EXPECT_EQ(model->browserPath(), std::optional<std::string>(path("cache")));
    EXPECT_TRUE(model->entriesLoading());
    settle();
    EXPECT_FALSE(model->entriesLoading());
    EXPECT_EQ(names(model->entries()), (std::vector<std::string>{"big", "late", "mid", "small"}));
    for (const Entry& e : model->entries()) EXPECT_TRUE(e.size.has_value()) << e.name;
    EXPECT_TRUE(model->store().size(path("cache/late")).has_value());  // measured into the store
}

TEST_F(ModelTest, FirstVisitListsTheRootsThenRelistsWhenTheScanEnds) {
    makeFile("one/f", 10'000);
    makeModel({{folderCategory("c", {path("one")}, false)}});
    model->setSelectedID(std::string("c"));
    model->didChangeSelection();
    EXPECT_EQ(model->state("c").status, Status::scanning);
    EXPECT_FALSE(model->browserPath().has_value());  // roots were unknown before the scan
    settle();
    EXPECT_EQ(model->state("c").status, Status::done);
    ASSERT_EQ(model->entries().size(), 1u);
    EXPECT_EQ(model->entries()[0].path, path("one"));
    EXPECT_EQ(model->entries()[0].size, model->store().size(path("one")));
}

TEST_F(ModelTest, ACancelledListingNeverWrites) {
    for (int i = 0; i < 200; ++i) makeFile("big/d" + std::to_string(i) + "/f", 100);
    makeModel({{folderCategory("c", {path("big")})}});
    model->scan(model->categories()[0]);
    settle();
    model->setSelectedID(std::string("c"));
    model->didChangeSelection();
    model->setSelectedID(std::string("__overview__"));
    model->didChangeSelection();  // cancels the listing before it could publish
    settle();
    EXPECT_TRUE(model->entries().empty());
    EXPECT_EQ(model->browserPath(), std::optional<std::string>(path("big")));  // kept
}

TEST_F(ModelTest, GoingUpAndCrumbs) {
    makeFolder("r1/a/b");
    makeFolder("r2");
    makeModel(
        {{folderCategory("one", {path("r1")}), folderCategory("two", {path("r1"), path("r2")})}});
    model->startInitialScan();
    settle();

    model->setSelectedID(std::string("one"));
    model->didChangeSelection();
    EXPECT_FALSE(model->canGoUp());
    model->goUp();
    EXPECT_EQ(model->browserPath(), std::optional<std::string>(path("r1")));
    model->setBrowserPath(path("r1/a/b"));
    EXPECT_TRUE(model->canGoUp());
    model->goUp();
    EXPECT_EQ(model->browserPath(), std::optional<std::string>(path("r1/a")));
    EXPECT_EQ(model->crumbs(), (std::vector<Crumb>{{"~/r1", path("r1")}, {"a", path("r1/a")}}));

    model->setSelectedID(std::string("two"));
    model->didChangeSelection();
    EXPECT_FALSE(model->browserPath().has_value());
    EXPECT_EQ(model->crumbs(), (std::vector<Crumb>{{"すべての場所", std::nullopt}}));
    model->setBrowserPath(path("r2"));
    EXPECT_TRUE(model->canGoUp());
    model->goUp();
    EXPECT_FALSE(model->browserPath().has_value());
    settle();
}

TEST_F(ModelTest, CrumbsBelowTheFileSystemRoot) {
    makeModel({{folderCategory("root", {"/"})}});
    model->setSelectedID(std::string("root"));
    // Pretend a finished scan: only roots matter to the crumbs.
    model->scan(model->categories()[0]);
    model->scanTasks().at("root").cancel();
    model->setBrowserPath(std::string("/private/var"));
    EXPECT_EQ(model->crumbs(),
              (std::vector<Crumb>{{"/", "/"}, {"private", "/private"}, {"var", "/private/var"}}));
    model->setSelectedID(std::string("__overview__"));
    settle();
}

TEST_F(ModelTest, SelectionIgnoresUnlistedPathsAndAnUnreadableFolderShowsTheError) {
    makeFile("s/file", 10'000);
    makeFolder("s/emptydir");
    makeModel({{folderCategory("s", {path("s")})}});
    model->scan(model->categories()[0]);
    settle();
    model->setSelectedID(std::string("s"));
    model->didChangeSelection();
    settle();
    model->setEntrySelection({path("s/file"), path("s/not-listed")});
    ASSERT_EQ(model->selectedEntries().size(), 1u);
    EXPECT_EQ(model->selectedBytes(), model->selectedEntries()[0].size.value());

    model->reveal({});
    ASSERT_EQ(services->revealed.size(), 1u);
    EXPECT_EQ(services->revealed[0], std::vector<std::string>{path("s")});

    model->setBrowserPath(path("s/vanished"));
    model->loadEntries();
    settle();
    EXPECT_FALSE(model->entriesLoading());
    EXPECT_TRUE(model->entries().empty());
    EXPECT_EQ(model->entriesError(),
              std::optional<std::string>("このフォルダは読み取れません (アクセス権がありません)"));
}

}  // namespace
}  // namespace kelvane::test
