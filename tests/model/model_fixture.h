#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "core/catalog.h"
#include "model/app_model.h"
#include "model/manual_main_queue.h"
#include "support/scoped_env.h"
#include "support/temp_tree.h"

namespace kelvane::test {

// Tool and desktop services that record what the model asked for and answer
// with what the test set up.
class FakeServices : public Services {
  public:
    std::optional<std::string> folderToChoose;
    std::optional<std::string> initial;
    std::vector<std::vector<std::string>> revealed;
    std::vector<std::string> snapshotList;
    std::vector<SimRuntime> runtimeList;
    ShellResult snapshotDeleteResult;
    ShellResult runResult;
    // What the administrator run answers; unset, every given path is
    // reported deleted with status 0.
    std::optional<AdminDeleteResult> adminResult;
    std::mutex mutex;
    std::vector<std::vector<std::string>> runCalls;
    std::vector<std::vector<std::string>> adminCalls;
    std::vector<std::vector<std::string>> snapshotDeleteCalls;
    // What the administrator run does to the disk before it answers;
    // nothing by default.
    std::function<void(const std::vector<std::string>&)> adminEffect;

    std::optional<std::string> chooseFolder() override { return folderToChoose; }
    void reveal(const std::vector<std::string>& paths) override { revealed.push_back(paths); }
    void openFullDiskAccessSettings() override {}
    std::optional<std::string> initialSelection() override { return initial; }
    std::vector<std::string> listSnapshots() override { return snapshotList; }
    ShellResult deleteSnapshots(const std::vector<std::string>& dates) override {
        const std::lock_guard lock(mutex);
        snapshotDeleteCalls.push_back(dates);
        return snapshotDeleteResult;
    }
    std::vector<SimRuntime> listRuntimes() override { return runtimeList; }
    ShellResult run(const std::string& executable, const std::vector<std::string>& args) override {
        const std::lock_guard lock(mutex);
        std::vector<std::string> call{executable};
        call.insert(call.end(), args.begin(), args.end());
        runCalls.push_back(call);
        return runResult;
    }
    AdminDeleteResult deleteAsAdmin(const std::vector<std::string>& paths) override {
        const std::lock_guard lock(mutex);
        adminCalls.push_back(paths);
        if (adminEffect) adminEffect(paths);
        if (adminResult) return *adminResult;
        AdminDeleteResult allDeleted;
        for (const std::string& p : paths) allDeleted.outcome.deleted.push_back({p, 0});
        return allDeleted;
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

    // The folder holding the trash the model's deletions use.
    std::string trashBase() const { return home + "/.local/share"; }
    std::string trashFiles() const { return trashBase() + "/Trash/files"; }
    std::string trashInfo() const { return trashBase() + "/Trash/info"; }

    // What the window does when the user confirms: the dialog goes away, then
    // the action runs.
    void confirm() {
        ASSERT_TRUE(model->pendingAction().has_value());
        const PendingAction action = *model->pendingAction();
        model->setPendingAction(std::nullopt);
        action.perform();
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

    // Runs main-queue steps until every background task has ended.
    void settle() {
        ASSERT_TRUE(queue->drainUntil([] { return runningTaskCount() == 0; }))
            << "background work did not settle";
        queue->drain();
    }

    std::string path(const std::string& relative) const { return home + "/" + relative; }

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
        std::filesystem::create_directories(trashInfo());
        std::ofstream(trashInfo() + "/" + item + ".trashinfo")
            << "[Trash Info]\nPath=" << path(item) << "\nDeletionDate=2024-05-06T07:08:09\n";
    }

    static CleanCategory folderCategory(const std::string& id, std::vector<std::string> patterns,
                                        bool scanOnLaunch = true) {
        return CleanCategory{id,
                             "探索",
                             id,
                             "folder",
                             "",
                             Risk::safe,
                             CategoryKind::folders,
                             std::move(patterns),
                             scanOnLaunch,
                             false};
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
