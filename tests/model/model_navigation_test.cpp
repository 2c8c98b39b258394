#include "model_fixture.h"

namespace kelvane::test {
namespace {

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

TEST_F(ModelTest, OpeningACategoryListsMeasuresWhatIsUnknownAndGoesUp) {
    makeFile("cache/small", 1000);
    makeFile("cache/big/blob", 200'000);
    makeFile("cache/mid/blob", 50'000);
    makeFile("one/f", 10'000);
    makeFolder("r1/a/b");
    makeFolder("r2");
    makeModel({{folderCategory("c", {path("cache")}), folderCategory("n", {path("one")}, false),
                folderCategory("one", {path("r1")}),
                folderCategory("two", {path("r1"), path("r2")}), folderCategory("root", {"/"})}});
    model->scan(model->categories()[0]);
    model->scan(model->categories()[2]);
    model->scan(model->categories()[3]);
    settle();
    makeFile("cache/late/blob", 100'000);  // no recorded size yet

    open("c");
    EXPECT_EQ(model->browserPath(), path("cache"));
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
    EXPECT_TRUE(model->entriesError());

    // A first visit starts the scan and lists the roots, then relists when it ends.
    open("n");
    EXPECT_EQ(model->state("n").status, Status::scanning);
    EXPECT_FALSE(model->browserPath().has_value());
    settle();
    ASSERT_EQ(model->entries().size(), 1u);
    EXPECT_EQ(model->entries()[0].size, model->store().size(path("one")));

    // A listing cancelled before it could publish never writes.
    open("c");
    open("__overview__");
    settle();
    EXPECT_TRUE(model->entries().empty());

    // Going up, and the crumbs on the way.
    open("one");
    EXPECT_FALSE(model->canGoUp());  // the only root is the top
    model->goUp();
    EXPECT_EQ(model->browserPath(), path("r1"));
    model->setBrowserPath(path("r1/a/b"));
    model->goUp();
    EXPECT_EQ(model->browserPath(), path("r1/a"));
    EXPECT_EQ(model->crumbs(), (std::vector<Crumb>{{"~/r1", path("r1")}, {"a", path("r1/a")}}));

    open("two");
    EXPECT_EQ(model->crumbs(), (std::vector<Crumb>{{"すべての場所", std::nullopt}}));
    model->setBrowserPath(path("r2"));
    EXPECT_TRUE(model->canGoUp());
    model->goUp();
    EXPECT_FALSE(model->browserPath().has_value());

    // Below the file system's root (only the roots matter to the crumbs).
    model->setSelectedID(std::string("root"));
    model->scan(model->categories()[4]);
    model->scanTasks().at("root").cancel();
    model->setBrowserPath(std::string("/private/var"));
    EXPECT_EQ(model->crumbs(),
              (std::vector<Crumb>{{"/", "/"}, {"private", "/private"}, {"var", "/private/var"}}));
    model->setSelectedID(std::string("__overview__"));
}

TEST_F(ModelTest, AddedFoldersOpenThemselvesAreScannedOnceRemovedAndExact) {
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
    const std::size_t count = model->categories().size();
    EXPECT_EQ(model->categories().back().name, "~/Projects");
    EXPECT_EQ(model->selectedID(), id);
    EXPECT_EQ(scansStarted, 1);
    EXPECT_EQ(model->browserPath(), path("Projects"));
    settle();
    ASSERT_EQ(model->entries().size(), 2u);
    EXPECT_EQ(model->entries()[0].path, path("Projects/src"));

    // Again: one category, not reset, rescanned.
    model->addCustomFolder();
    EXPECT_EQ(model->categories().size(), count);
    EXPECT_EQ(model->state(id).status, Status::scanning);
    EXPECT_EQ(scansStarted, 2);
    settle();
    services->folderToChoose = std::nullopt;  // the chooser was cancelled
    model->addCustomFolder();
    EXPECT_EQ(model->categories().size(), count);
    // Handed over by the file manager: only a folder is added; anything
    // else says why in a notice and changes nothing.
    for (const auto& [given, why] : std::vector<std::pair<std::string, std::string>>{
             {path("Projects/README"), "フォルダではありません"},
             {path("nowhere"), "項目が見つかりません"}}) {
        model->addFolder(given);
        EXPECT_EQ(model->notice(), "フォルダとして開けませんでした: " + given + "\n" + why);
        EXPECT_EQ(model->categories().size(), count);
    }
    model->addFolder(path("Projects"));
    EXPECT_EQ(model->categories().size(), count);
    EXPECT_EQ(model->selectedID(), id);
    settle();

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
    EXPECT_EQ(model->selectedID(), b.id);
    // Removed while selected: back to the overview.
    model->removeCustomFolder(b);
    EXPECT_EQ(model->selectedID(), "__overview__");
    settle();
    EXPECT_EQ(model->states().count(a.id), 0u);
    EXPECT_EQ(model->categories().size(), count);
    // Catalog rows cannot be removed.
    model->removeCustomFolder(model->categories()[0]);
    EXPECT_EQ(model->categories().size(), count);
    EXPECT_EQ(model->states().count(model->categories()[0].id), 1u);

    // A custom folder is its exact path, whatever its name: each is chosen
    // next to siblings its name would match as a pattern.
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases{
        {"proj*", {"proj-thesis", "projects"}}, {"a?b", {"acb"}}, {"[x]", {"x"}}};
    for (const auto& [name, siblings] : cases) {
        SCOPED_TRACE(name);
        makeFile(name + "/inside", 100);
        for (const std::string& sibling : siblings) makeFile(sibling + "/inside", 100);
        services->folderToChoose = path(name);
        model->addCustomFolder();
        settle();
        const CleanCategory added = model->categories().back();
        EXPECT_EQ(model->state(added.id).roots, std::vector<std::string>{path(name)});
        model->confirmCleanCategory(added, true);
        confirmAndSettle();
        EXPECT_TRUE(exists(path(name)));
        EXPECT_FALSE(exists(path(name + "/inside")));
        for (const std::string& sibling : siblings)
            EXPECT_TRUE(exists(path(sibling + "/inside"))) << sibling;
    }
}

TEST_F(ModelTest, NotificationsUnknownIdsTheLogLimitAndTheInitialSelection) {
    services->initial = "";
    makeModel();
    EXPECT_EQ(queue->pendingDelayed(), 0u);  // an empty selection schedules nothing
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
    EXPECT_EQ(model->state("nope").status, Status::idle);
    EXPECT_EQ(model->states().count("nope"), 0u);
    model->setSelectedID(std::string("nope"));
    EXPECT_FALSE(model->selectedCategory());
    model->setSelectedID(std::string("trash"));
    EXPECT_EQ(model->selectedCategory()->id, "trash");

    for (int i = 1; i <= 250; ++i) model->addLog(std::to_string(i), i % 2 == 0);
    ASSERT_EQ(model->log().size(), 200u);
    EXPECT_EQ(model->log().front().message, "51");
    EXPECT_EQ(model->log().back().message, "250");
    EXPECT_TRUE(model->log().back().isError);

    // A selection handed over at launch arrives after one and a half seconds.
    services->initial = "trash";
    makeModel();
    queue->advance(std::chrono::milliseconds(1499));
    queue->drain();
    EXPECT_EQ(model->selectedID(), "__overview__");
    queue->advance(std::chrono::milliseconds(1));
    queue->drain();
    EXPECT_EQ(model->selectedID(), "trash");
}

}  // namespace
}  // namespace kelvane::test
