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
    ShellResult adminResult;
    std::mutex mutex;
    std::vector<std::vector<std::string>> runCalls;
    std::vector<std::vector<std::string>> adminCalls;
    std::vector<std::vector<std::string>> snapshotDeleteCalls;
    // What the administrator run does to the disk before it answers with
    // adminResult; nothing by default.
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
    ShellResult deleteAsAdmin(const std::vector<std::string>& paths) override {
        const std::lock_guard lock(mutex);
        adminCalls.push_back(paths);
        if (adminEffect) adminEffect(paths);
        return adminResult;
    }
};

// A temporary home folder with helpers to fill it, a manual main queue, fake
// services, and a model built over them on demand.
class ModelTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/kelvane-model-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        home = pattern;
        queue = std::make_shared<ManualMainQueue>();
        services = std::make_shared<FakeServices>();
        // Items moved to the trash land in the temporary home, never in the
        // trash of whoever runs the tests.
        if (const char* old = std::getenv("XDG_DATA_HOME")) oldDataHome = old;
        ASSERT_EQ(::setenv("XDG_DATA_HOME", trashBase().c_str(), 1), 0);
    }

    void TearDown() override {
        if (model) settle();
        model.reset();
        std::error_code ignored;
        std::filesystem::permissions(home, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
        std::filesystem::remove_all(home, ignored);
        if (oldDataHome) {
            ::setenv("XDG_DATA_HOME", oldDataHome->c_str(), 1);
        } else {
            ::unsetenv("XDG_DATA_HOME");
        }
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

    // The allocated size of the item itself, links not followed; -1 when
    // lstat fails.
    static std::int64_t allocated(const std::string& p) {
        struct stat info {};
        if (::lstat(p.c_str(), &info) != 0) return -1;
        return static_cast<std::int64_t>(info.st_blocks) * 512;
    }

    // Whether the item itself exists, links not followed.
    static bool present(const std::string& p) {
        struct stat info {};
        return ::lstat(p.c_str(), &info) == 0;
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
        const std::filesystem::path p = path(relative);
        std::filesystem::create_directories(p.parent_path());
        std::ofstream out(p, std::ios::binary);
        out << std::string(bytes, 'x');
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

    std::string home;
    std::shared_ptr<ManualMainQueue> queue;
    std::shared_ptr<FakeServices> services;
    std::shared_ptr<AppModel> model;
    int diskReads = 0;
    std::optional<std::string> oldDataHome;
};

}  // namespace kelvane::test
