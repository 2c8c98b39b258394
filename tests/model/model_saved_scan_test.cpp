// Scans saved to a file: opened read-only from the export alone, and written out afresh.
#include <gtest/gtest.h>

#include <fstream>

#include "core/fmt.h"
#include "model/folder_map.h"
#include "model_fixture.h"
#include "scan/export_writer.h"
#include "scan/exported_tree.h"

namespace kelvane::test {
namespace {

class SavedScanTest : public ModelTest {
  protected:
    // An export of ~/.cache that says "real" holds 5 MB and an odd name; on the disk the same
    // folder holds one small file, so any figure taken from the disk shows.
    static ExportInfo sized(std::int64_t apparent, std::int64_t allocated) {
        ExportInfo info;
        info.asize = apparent;
        info.dsize = allocated;
        return info;
    }

    void SetUp() override {
        ModelTest::SetUp();
        makeFile(".cache/real/small", 1000);
        std::string text;
        ExportWriter writer(text);
        writer.header("1", 1'700'000'000);
        writer.beginFolder(path(".cache"), sized(0, 4096));
        writer.beginFolder("real", sized(0, 4096));
        writer.beginFolder("inner", sized(0, 4096));
        writer.item("big", sized(5'000'000, 5'000'000));
        writer.endFolder();
        writer.endFolder();
        writer.item("bad\xff\nname", sized(100, 4096));
        writer.endFolder();
        writer.footer();
        file = path("scan.json");
        std::ofstream(file) << text;
        makeModel(catalogRows({"user_caches"}));
        scanEach();
    }

    // Opens the export as the menu does and waits for it to be read.
    void openScan(const std::string& which) {
        services->scanToChoose = which;
        model->chooseSavedScan();
        settle();
    }

    std::string file;
};

TEST_F(SavedScanTest, OpensReadOnlyAndBrowsesTheExportNeverTheDisk) {
    const std::size_t before = model->categories().size();
    openScan(file);
    const std::string id = std::string(Catalog::kSavedScanPrefix) + file;
    ASSERT_EQ(model->selectedID(), id);
    ASSERT_EQ(model->categories().size(), before + 1);
    const CleanCategory category = model->categories().back();
    EXPECT_EQ(category.name, "~/.cache (" + Fmt::date(Date{1'700'000'000}) + ")");
    const CategoryState state = model->state(id);
    EXPECT_EQ(state.status, CategoryState::Status::done);
    EXPECT_EQ(state.bytes, 4096 * 4 + 5'000'000);
    EXPECT_EQ(state.roots, std::vector<std::string>{path(".cache")});
    EXPECT_EQ(state.files, 2);
    EXPECT_EQ(state.dirs, 3);

    model->didChangeSelection();
    ASSERT_EQ(model->entries().size(), 2U);
    EXPECT_EQ(model->entries()[0].path, path(".cache/real"));
    EXPECT_EQ(model->entries()[0].size, 4096 * 2 + 5'000'000);
    EXPECT_EQ(model->entries()[1].name, "bad\xff\nname");
    // The map nests what the export knows below "real", not what the disk holds.
    const auto tiles = FolderMap::build(
        model->entries(), [&](const std::string& p) { return model->knownChildren(p); },
        {0, 0, 800, 500});
    EXPECT_TRUE(std::any_of(tiles.begin(), tiles.end(), [&](const MapTile& t) {
        return t.path == path(".cache/real/inner") && t.depth == 1;
    }));
    model->setBrowserPath(path(".cache/real/inner"));
    model->loadEntries();
    ASSERT_EQ(model->entries().size(), 1U);
    EXPECT_EQ(model->entries()[0].size, 5'000'000);
    EXPECT_EQ(model->crumbs().back().label, "inner");
    model->goUp();
    EXPECT_EQ(model->browserPath(), path(".cache/real"));

    // Nothing of it can be deleted or revealed, whichever way it is asked, and a rescan of
    // the disk leaves its figures alone.
    model->setEntrySelection({path(".cache/real/small")});
    model->confirmDelete({path(".cache/real/small")}, true);
    EXPECT_FALSE(model->pendingAction());
    EXPECT_EQ(model->notice(), model->readOnlyReason(id));
    model->setNotice(std::nullopt);
    model->confirmCleanCategory(category, false);
    model->reveal({path(".cache/real")});
    EXPECT_FALSE(model->pendingAction());
    EXPECT_TRUE(services->revealed.empty());
    EXPECT_TRUE(std::filesystem::exists(path(".cache/real/small")));
    model->scanAll();
    model->scan(category);
    settle();
    EXPECT_EQ(model->state(id).bytes, 4096 * 4 + 5'000'000);

    // Closing it takes the row away and leaves the file.
    model->removeCustomFolder(category);
    EXPECT_FALSE(model->isSavedScan(id));
    EXPECT_EQ(model->categories().size(), before);
    EXPECT_TRUE(std::filesystem::exists(file));
}

TEST_F(SavedScanTest, ABadFileSaysWhereAndChangesNothing) {
    struct Case {
        std::string name;
        std::string text;
        std::string says;
    };
    const std::vector<Case> cases = {
        {"truncated.json", R"([1,2,{},[{"name":"/x"},{"name":"y")", "バイト目"},
        {"v2.json", R"([2,0,{},[{"name":"/x"}]])", "主版数 1"},
        {"missing.json", "", "見つかりません"},
    };
    for (const Case& c : cases) {
        if (!c.text.empty()) std::ofstream(path(c.name)) << c.text;
        const auto categories = model->categories().size();
        openScan(path(c.name));
        ASSERT_TRUE(model->notice()) << c.name;
        EXPECT_NE(model->notice()->find(c.says), std::string::npos) << *model->notice();
        expectOurWordsOnly(*model->notice());
        EXPECT_EQ(model->categories().size(), categories);
        EXPECT_FALSE(model->busyMessage() || model->busyProgress());
        model->setNotice(std::nullopt);
    }
    // A folder handed over is added as a folder; a file, opened as a scan.
    model->openPath(path(".cache"));
    EXPECT_EQ(model->selectedID(), std::string(Catalog::kCustomPrefix) + path(".cache"));
    model->openPath(file);
    settle();
    EXPECT_EQ(model->selectedID(), std::string(Catalog::kSavedScanPrefix) + file);
}

TEST_F(SavedScanTest, ExportWritesTheCategoryAfreshAndOpensAgain) {
    model->addFolder(path(".cache"));
    settle();
    const CleanCategory caches = model->categories().back();
    services->exportToChoose = path("out.json");
    model->exportCategory(caches);
    settle();
    ASSERT_EQ(services->exportSuggestions.size(), 1U);
    EXPECT_NE(services->exportSuggestions[0].find(".json"), std::string::npos);
    EXPECT_FALSE(model->busyMessage() || model->busyProgress());
    EXPECT_FALSE(std::filesystem::exists(path("out.json.part0")));
    openScan(path("out.json"));
    const std::string id = std::string(Catalog::kSavedScanPrefix) + path("out.json");
    EXPECT_EQ(model->state(id).bytes, model->state(caches.id).bytes);

    // Where it cannot be written, the user is told and no half file is left.
    services->exportToChoose = path("no/such/folder/out.json");
    model->exportCategory(caches);
    settle();
    ASSERT_TRUE(model->notice());
    EXPECT_NE(model->notice()->find("書き出せませんでした"), std::string::npos);
    expectOurWordsOnly(*model->notice());
}

}  // namespace
}  // namespace kelvane::test
