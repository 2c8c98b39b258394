#include "model_fixture.h"

namespace kelvane::test {
namespace {

using Status = CategoryState::Status;

std::vector<std::string> names(const std::vector<Entry>& entries) {
    std::vector<std::string> out;
    for (const Entry& e : entries) out.push_back(e.name);
    return out;
}

TEST(DisplayOrder, BiggestFirstUnknownLastTiesStable) {
    const auto entry = [](std::string name, std::optional<std::int64_t> size) {
        return Entry{"/x/" + name, name, !size, false, false, size, std::nullopt};
    };
    std::vector<Entry> list{entry("a", 5), entry("b", std::nullopt), entry("c", 9), entry("d", 5)};
    AppModel::sortForDisplay(list);
    EXPECT_EQ(names(list), (std::vector<std::string>{"c", "a", "d", "b"}));
    list[3].size = 7;
    AppModel::sortForDisplay(list);
    EXPECT_EQ(names(list), (std::vector<std::string>{"c", "b", "a", "d"}));
}

TEST_F(ModelTest, OpeningACategoryListsItsFolderAndMeasuresWhatIsUnknown) {
    makeFile("cache/small", 1000);
    makeFile("cache/big/blob", 200'000);
    makeFile("cache/mid/blob", 50'000);
    makeFile("one/f", 10'000);
    makeModel({{folderCategory("c", {path("cache")}), folderCategory("n", {path("one")}, false)}});
    model->scan(model->categories()[0]);
    settle();
    makeFile("cache/late/blob", 100'000);  // no recorded size yet

    model->setSelectedID(std::string("c"));
    model->didChangeSelection();
    EXPECT_EQ(model->browserPath(), std::optional<std::string>(path("cache")));
    settle();
    EXPECT_EQ(names(model->entries()), (std::vector<std::string>{"big", "late", "mid", "small"}));
    EXPECT_EQ(model->store().size(path("cache/late")), model->entries()[1].size);

    // The selection counts listed items only; "reveal" without items shows the folder.
    model->setEntrySelection({path("cache/small"), path("cache/not-listed")});
    ASSERT_EQ(model->selectedEntries().size(), 1u);
    EXPECT_EQ(model->selectedBytes(), model->selectedEntries()[0].size.value());
    model->reveal({});
    EXPECT_EQ(services->revealed, std::vector<std::vector<std::string>>{{path("cache")}});
    model->setBrowserPath(path("cache/vanished"));
    model->loadEntries();
    settle();
    EXPECT_TRUE(model->entries().empty());
    EXPECT_EQ(model->entriesError(),
              std::optional<std::string>("このフォルダは読み取れません (アクセス権がありません)"));

    // A first visit starts the scan and lists the roots, then relists when it ends.
    model->setSelectedID(std::string("n"));
    model->didChangeSelection();
    EXPECT_EQ(model->state("n").status, Status::scanning);
    EXPECT_FALSE(model->browserPath().has_value());
    settle();
    ASSERT_EQ(model->entries().size(), 1u);
    EXPECT_EQ(model->entries()[0].size, model->store().size(path("one")));

    // A listing cancelled before it could publish never writes.
    model->setSelectedID(std::string("c"));
    model->didChangeSelection();
    model->setSelectedID(std::string("__overview__"));
    model->didChangeSelection();
    settle();
    EXPECT_TRUE(model->entries().empty());
}

TEST_F(ModelTest, GoingUpAndCrumbs) {
    makeFolder("r1/a/b");
    makeFolder("r2");
    makeModel({{folderCategory("one", {path("r1")}),
                folderCategory("two", {path("r1"), path("r2")}), folderCategory("root", {"/"})}});
    model->scan(model->categories()[0]);
    model->scan(model->categories()[1]);
    settle();
    model->setSelectedID(std::string("one"));
    model->didChangeSelection();
    EXPECT_FALSE(model->canGoUp());  // the only root is the top
    model->goUp();
    EXPECT_EQ(model->browserPath(), std::optional<std::string>(path("r1")));
    model->setBrowserPath(path("r1/a/b"));
    model->goUp();
    EXPECT_EQ(model->browserPath(), std::optional<std::string>(path("r1/a")));
    EXPECT_EQ(model->crumbs(), (std::vector<Crumb>{{"~/r1", path("r1")}, {"a", path("r1/a")}}));

    model->setSelectedID(std::string("two"));
    model->didChangeSelection();
    EXPECT_EQ(model->crumbs(), (std::vector<Crumb>{{"すべての場所", std::nullopt}}));
    model->setBrowserPath(path("r2"));
    EXPECT_TRUE(model->canGoUp());
    model->goUp();
    EXPECT_FALSE(model->browserPath().has_value());

    // Below the file system's root (only the roots matter to the crumbs).
    model->setSelectedID(std::string("root"));
    model->scan(model->categories()[2]);
    model->scanTasks().at("root").cancel();
    model->setBrowserPath(std::string("/private/var"));
    EXPECT_EQ(model->crumbs(),
              (std::vector<Crumb>{{"/", "/"}, {"private", "/private"}, {"var", "/private/var"}}));
    model->setSelectedID(std::string("__overview__"));
    settle();
}

}  // namespace
}  // namespace kelvane::test
