// The history through the model: what the card and the browser's column show after
// measurements at chosen times, and a history that cannot be used.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <fstream>

#include "model_fixture.h"
#include "system/history_file.h"

namespace kelvane::test {
namespace {

constexpr std::int64_t kDay = 24 * 60 * 60;
constexpr std::int64_t kStart = 1'750'000'000;

class HistoryTest : public ModelTest {
  protected:
    // A model over one folder category "h" (~/h), recording into ~/state at `clock`.
    void launch() {
        if (model) settle();
        model.reset();
        ModelEnvironment env;
        env.home = home;
        env.trashFiles = trashFiles();
        env.categories = {CleanCategory{"h",
                                        "探索",
                                        "h",
                                        "folder",
                                        "",
                                        Risk::safe,
                                        CategoryKind::folders,
                                        {path("h")},
                                        true,
                                        false}};
        env.readDisk = [] { return std::optional<DiskInfo>(DiskInfo{1000, 500, 500}); };
        env.historyFolder = path("state");
        env.clock = [this] { return clock; };
        model = AppModel::create(queue, services, env);
        model->startInitialScan();
        settle();
        waitForGrowth();
    }

    // The card is computed on a worker after each measurement.
    void waitForGrowth() {
        ASSERT_TRUE(queue->drainUntil([&] { return model->historyRead(); }));
        settle();
    }

    // The card's rows as "path or category: net change".
    std::map<std::string, std::int64_t> card() const {
        std::map<std::string, std::int64_t> rows;
        for (const GrowthRow& row : model->growth().rows) {
            const std::string place = row.path.empty() ? row.categoryID : row.path;
            rows[place] = row.change.net();
        }
        return rows;
    }

    std::int64_t clock = kStart;
};

TEST_F(HistoryTest, GrowthShrinkingNewAndDeletedPlacesAgainstEachPoint) {
    for (const char* folder : {"grow", "shrink", "delete"})
        makeFile(std::string("h/") + folder + "/base", 100'000);
    makeFile("h/shrink/more", 400'000);
    launch();
    // Nothing to compare with after the first launch: the next one will be.
    EXPECT_TRUE(model->growth().rows.empty());
    EXPECT_TRUE(model->growth().afterNextMeasurement);
    model->setComparisonPoint(ComparisonPoint::weekAgo);
    waitForGrowth();
    EXPECT_EQ(model->growth().possibleAt, kStart + 7 * kDay);

    // Eight days on: one folder grew, one shrank on its own, one was emptied through Kelvane,
    // one is new.
    clock += 8 * kDay;
    const std::int64_t before = fresh(path("h/grow"));
    makeFile("h/grow/added", 300'000);
    const std::int64_t grown = fresh(path("h/grow")) - before;
    const std::int64_t shrunk = fresh(path("h/shrink/more"));
    std::filesystem::remove(path("h/shrink/more"));
    makeFile("h/new/file", 200'000);
    launch();
    const std::int64_t fresh_new = fresh(path("h/new"));
    open("h");
    model->setEntrySelection({path("h/delete/base")});
    model->confirmDelete({path("h/delete/base")}, true);
    confirmAndSettle();
    waitForGrowth();

    for (const ComparisonPoint point : {ComparisonPoint::previous, ComparisonPoint::weekAgo}) {
        model->setComparisonPoint(point);
        waitForGrowth();
        const auto rows = card();
        EXPECT_EQ(rows.at(path("h/grow")), grown);
        EXPECT_EQ(rows.at(path("h/shrink")), -shrunk);
        EXPECT_EQ(rows.at(path("h/new")), fresh_new);
        // Emptied by the user through Kelvane: no shrinkage to show, on the card or in the column.
        EXPECT_EQ(rows.count(path("h/delete")), 0U);
        const PlaceChange* deleted = model->growthOf(path("h/delete"));
        ASSERT_NE(deleted, nullptr);
        EXPECT_EQ(deleted->net(), 0);
        EXPECT_GT(deleted->deleted, 0);
        EXPECT_EQ(model->growthOf(path("h/new"))->kind, ChangeKind::appeared);
        EXPECT_EQ(model->growthOf(path("h/nowhere")), nullptr);
    }
    // A month back there is no measurement yet: the card says from when there will be.
    model->setComparisonPoint(ComparisonPoint::monthAgo);
    waitForGrowth();
    EXPECT_TRUE(model->growth().rows.empty());
    EXPECT_EQ(model->growth().possibleAt, kStart + 30 * kDay);

    // Sorted by change, the grown folder leads and the shrunk one comes after the unknown.
    model->setComparisonPoint(ComparisonPoint::previous);
    waitForGrowth();
    model->setBrowserPath(path("h"));
    model->setBrowserSort(BrowserSort::growth);
    model->loadEntries();
    settle();
    ASSERT_FALSE(model->entries().empty());
    EXPECT_EQ(model->entries().front().path, path("h/grow"));

    // A row of the card opens its folder.
    model->openGrowthRow(GrowthRow{"h", path("h/new"), {}});
    settle();
    EXPECT_EQ(model->browserPath(), path("h/new"));

    // Switched off, nothing more is recorded; cleared, nothing is left to compare.
    model->setRecordHistory(false);
    clock += kDay;
    model->scan(model->categories().front());
    settle();
    model->confirmClearHistory();
    confirmAndSettle();
    waitForGrowth();
    EXPECT_TRUE(model->growth().rows.empty());
    EXPECT_FALSE(std::filesystem::exists(path("state/" + HistoryFile::fileNameFor("h"))));
}

TEST_F(HistoryTest, AnUnusableHistoryLeavesTheApplicationWorking) {
    makeFile("h/f", 100'000);
    struct Case {
        std::string name;
        std::function<void(const std::string& file)> spoil;
        std::string setAside;  // the suffix the file is renamed with
    };
    const std::vector<Case> cases = {
        {"truncated", [](const std::string& f) { std::filesystem::resize_file(f, 20); }, ".broken"},
        {"garbage", [](const std::string& f) { std::ofstream(f) << "not a history"; }, ".broken"},
        {"newer",
         [](const std::string& f) {
             std::fstream file(f, std::ios::in | std::ios::out | std::ios::binary);
             file.seekp(8);
             file.put('\x7f');
         },
         ".newer"},
    };
    for (const Case& c : cases) {
        std::filesystem::remove_all(path("state"));
        launch();
        const std::string file = path("state/" + HistoryFile::fileNameFor("h"));
        ASSERT_TRUE(std::filesystem::exists(file)) << c.name;
        c.spoil(file);
        clock += kDay;
        launch();
        EXPECT_TRUE(std::filesystem::exists(file + c.setAside)) << c.name;
        EXPECT_TRUE(std::any_of(model->log().begin(), model->log().end(), [](const LogEntry& e) {
            return e.isError;
        })) << c.name;
        EXPECT_EQ(model->state("h").status, CategoryState::Status::done) << c.name;
        EXPECT_TRUE(std::filesystem::exists(file)) << c.name << ": a fresh history";
    }

    // A state folder that cannot be written: measured as ever, said once in the log. (Root
    // writes anywhere; the history file's own test makes this folder as another user.)
    if (::geteuid() == 0) return;
    std::filesystem::remove_all(path("state"));
    std::filesystem::create_directories(path("state"));
    ::chmod(path("state").c_str(), 0555);
    launch();
    EXPECT_EQ(model->state("h").status, CategoryState::Status::done);
    EXPECT_EQ(std::count_if(model->log().begin(), model->log().end(),
                            [](const LogEntry& e) { return e.isError; }),
              1);
}

}  // namespace
}  // namespace kelvane::test
