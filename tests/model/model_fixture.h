#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <regex>
#include <set>
#include <string>

#include "core/catalog.h"
#include "model/app_model.h"
#include "model/manual_main_queue.h"
#include "support/scoped_env.h"
#include "support/temp_tree.h"
#include "system/cleaner.h"

namespace kelvane::test {

using Status = CategoryState::Status;

// Tool and desktop services that record what the model asked for and answer
// with what the test set up.
class FakeServices : public Services {
  public:
    std::optional<std::string> folderToChoose;
    std::optional<std::string> scanToChoose;
    std::optional<std::string> exportToChoose;
    std::vector<std::string> exportSuggestions;
    std::optional<std::string> initial;
    std::vector<std::vector<std::string>> revealed;
    std::vector<LocalSnapshot> snapshotList;
    std::vector<LocalSnapshot> adminSnapshotList;
    bool snapshotsNeedAdministrator = false;
    std::vector<std::optional<std::string>> snapshotErrors;
    std::vector<SimRuntime> runtimeList;
    // What every tool run answers: the snapshot deletion and `run`; the
    // queued answers first, one per run.
    ShellResult runResult;
    std::deque<ShellResult> nextResults;
    // Each tool run: the executable and its arguments, or "deleteSnapshots"
    // and the dates.
    std::vector<std::vector<std::string>> runCalls;
    AdminDeleteResult adminResult;
    std::vector<std::vector<std::string>> adminCalls;
    std::atomic<int> lists{0};  // snapshot and runtime listings
    std::mutex mutex;

    std::optional<std::string> chooseFolder() override { return folderToChoose; }
    std::optional<std::string> chooseSavedScan() override { return scanToChoose; }
    std::optional<std::string> chooseExportFile(const std::string& suggested) override {
        exportSuggestions.push_back(suggested);
        return exportToChoose;
    }
    void reveal(const std::vector<std::string>& paths) override { revealed.push_back(paths); }
    std::optional<std::string> initialSelection() override { return initial; }
    SnapshotTools::Listing listSnapshots() override {
        ++lists;
        return {snapshotList, snapshotsNeedAdministrator};
    }
    SnapshotTools::AdminListing listSnapshotsAsAdmin() override {
        ++lists;
        return {runResult, adminSnapshotList, runResult.status == -1 && runResult.err.empty()};
    }
    // Each snapshot named in runCalls by its date; the result comes from
    // runResult, and `snapshotErrors` says which failed.
    SnapshotTools::Deletion deleteSnapshots(const std::vector<LocalSnapshot>& snapshots) override {
        std::vector<std::string> dates;
        for (const LocalSnapshot& s : snapshots) dates.push_back(s.date);
        SnapshotTools::Deletion d;
        d.run = run("deleteSnapshots", dates);
        d.errors = snapshotErrors;
        d.errors.resize(snapshots.size());
        if (d.run.err.find("-128") != std::string::npos) {
            d.errors.assign(snapshots.size(), std::string("not reported"));
        }
        return d;
    }
    std::vector<SimRuntime> listRuntimes() override {
        ++lists;
        return runtimeList;
    }
    ShellResult run(const std::string& executable, const std::vector<std::string>& args) override {
        const std::lock_guard lock(mutex);
        runCalls.push_back({executable});
        runCalls.back().insert(runCalls.back().end(), args.begin(), args.end());
        if (nextResults.empty()) return runResult;
        const ShellResult next = nextResults.front();
        nextResults.pop_front();
        return next;
    }
    // When set, the administrator runs are this helper, started directly.
    std::optional<std::string> realHelper;
    AdminDeleteResult deleteAsAdmin(const std::vector<std::string>& paths) override {
        const std::lock_guard lock(mutex);
        adminCalls.push_back(paths);
        if (realHelper) return Cleaner::deleteAsAdminVia("", *realHelper, paths);
        return adminResult;
    }
};

// A temporary home folder with helpers to fill it, a manual main queue, fake
// services, and a model built over them on demand.
class ModelTest : public ::testing::Test {
  protected:
    void SetUp() override {
        queue = std::make_shared<ManualMainQueue>();
        services = std::make_shared<FakeServices>();
    }

    void TearDown() override {
        if (model) settle();
        model.reset();
    }

    // The trash the model's deletions use.
    std::string trashFiles() const { return home + "/.local/share/Trash/files"; }

    // What the window does when the user confirms: the dialog goes away, then
    // the action runs.
    void confirm() {
        ASSERT_TRUE(model->pendingAction().has_value());
        const PendingAction action = *model->pendingAction();
        model->setPendingAction(std::nullopt);
        action.perform();
    }
    void confirmAndSettle() {
        confirm();
        settle();
    }

    // Builds the model over the temporary home with the catalog's rows (or
    // the given ones).
    void makeModel(std::optional<std::vector<CleanCategory>> categories = std::nullopt) {
        ModelEnvironment env;
        env.home = home;
        env.trashFiles = trashFiles();
        env.categories =
            categories ? *categories : Catalog::build(home, home + "/tmpbase", trashFiles());
        env.readDisk = [this]() -> std::optional<DiskInfo> {
            ++diskReads;
            return DiskInfo{1000, 500, 500};
        };
        model = AppModel::create(queue, services, env);
    }

    // Scans every category of the model and waits for the scans to end.
    void scanEach() {
        for (const CleanCategory& category : model->categories()) model->scan(category);
        settle();
    }

    // What a fresh walk measures below `absolute`.
    static std::int64_t fresh(const std::string& absolute) {
        SizeStore store;
        return Scanner::scan(absolute, store).bytes;
    }

    // Fails unless `text` is in our own words: no English sentence, except
    // what a tool or pkexec wrote, quoted after a lead-in that ends in ":" and a
    // line feed, to the end of the text.
    static void expectOurWordsOnly(const std::string& text) {
        std::string ours = text;
        for (const std::string lead : {"失敗しました:\n", "詳細:\n"}) {
            if (const auto at = ours.find(lead); at != std::string::npos) ours.resize(at);
        }
        EXPECT_FALSE(std::regex_search(ours, std::regex("[A-Za-z]+ [A-Za-z]+|Error|Could")))
            << text;
    }

    // Runs main-queue steps until every background task has ended.
    void settle() {
        ASSERT_TRUE(queue->drainUntil([] { return runningTaskCount() == 0; }))
            << "background work did not settle";
        queue->drain();
    }

    std::string path(const std::string& relative) const { return home + "/" + relative; }
    // The size the store holds for `relative`, -1 when it holds none.
    std::int64_t stored(const std::string& relative) const {
        return model->store().size(path(relative)).value_or(-1);
    }
    // What the window does when the user picks a category in the sidebar.
    void open(const std::string& id) {
        model->setSelectedID(id);
        model->didChangeSelection();
    }

    void makeFile(const std::string& relative, std::size_t bytes) const {
        writeFileOfSize(path(relative), bytes);
    }
    void makeFolder(const std::string& relative) const {
        std::filesystem::create_directories(path(relative));
    }

    // A file of `bytes` at `relative` inside the trash's files folder, with
    // the info file a desktop would have written for its top item.
    void makeTrashed(const std::string& relative, std::size_t bytes) const {
        const std::string item = relative.substr(0, relative.find('/'));
        makeFile(".local/share/Trash/files/" + relative, bytes);
        makeFolder(".local/share/Trash/info");
        std::ofstream(path(".local/share/Trash/info/" + item + ".trashinfo"))
            << "[Trash Info]\nPath=" << path(item) << "\nDeletionDate=2024-05-06T07:08:09\n";
    }

    // The catalog's rows with these ids, built over the temporary home.
    std::vector<CleanCategory> catalogRows(const std::set<std::string>& ids) const {
        std::vector<CleanCategory> rows;
        for (CleanCategory& row : Catalog::build(home, home + "/tmpbase", trashFiles())) {
            if (ids.count(row.id) != 0) rows.push_back(std::move(row));
        }
        return rows;
    }

    static CleanCategory folderCategory(const std::string& id, std::vector<std::string> patterns,
                                        bool scanOnLaunch = true) {
        return {id,       "探索",       id,   "folder", "", Risk::safe, CategoryKind::folders,
                patterns, scanOnLaunch, false};
    }

    // Removed with all its modes and flags when the test ends, after the model.
    TempTree homeTree;
    std::string home = homeTree.path();
    // Items moved to the trash land in the temporary home, never in the trash
    // of whoever runs the tests.
    ScopedEnv dataHome{"XDG_DATA_HOME", home + "/.local/share"};
    std::shared_ptr<ManualMainQueue> queue;
    std::shared_ptr<FakeServices> services;
    std::shared_ptr<AppModel> model;
    int diskReads = 0;
};

}  // namespace kelvane::test
