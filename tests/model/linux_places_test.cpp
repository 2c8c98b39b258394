// The Linux places measured on this very machine, as the launch scan does
// it, against du: the figures a user compares Kelvane with.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>
#include <memory>

#include "core/linux_catalog.h"
#include "model/app_model.h"
#include "model/manual_main_queue.h"
#include "support/run_as_test_user.h"
#include "system/shell.h"

namespace kelvane {
namespace {

// du's figure for `folder`, as bytes; nothing when du fails.
std::optional<std::int64_t> du(const std::string& folder) {
    const ShellResult r = Shell::run("/usr/bin/du", {"-sB1", "--one-file-system", folder});
    if (r.status != 0 || r.out.empty()) return std::nullopt;
    return std::stoll(r.out);
}

TEST(LinuxPlaces, TheLaunchScanMeasuresSystemFoldersAsDuDoes) {
    const std::map<std::string, std::string> folders = {
        {"linux_logs", "/var/log"},
        {"linux_package_caches", "/var/cache/apt/archives"},
        {"linux_var_tmp", "/var/tmp"}};
    // Several rounds: a log written between our walk and du's is not a fault.
    std::map<std::string, std::string> mismatch;
    for (int round = 0; round < 3; ++round) {
        mismatch.clear();
        const auto queue = std::make_shared<ManualMainQueue>();
        ModelEnvironment env{"/nonexistent-home", "/nonexistent-home/Trash/files",
                             LinuxCatalog::all(), [] { return std::optional<DiskInfo>(); }};
        const auto model = AppModel::create(queue, std::make_shared<SystemServices>(), env);
        model->startInitialScan();
        ASSERT_TRUE(queue->drainUntil([] { return runningTaskCount() == 0; },
                                      std::chrono::minutes(5)));
        queue->drain();
        for (const auto& [id, folder] : folders) {
            struct stat st {};
            if (::stat(folder.c_str(), &st) != 0) continue;  // not on this system
            const CategoryState state = model->state(id);
            const std::optional<std::int64_t> reference = du(folder);
            ASSERT_TRUE(reference) << folder;
            if (state.status != CategoryState::Status::done || state.bytes != *reference) {
                mismatch[folder] = std::to_string(state.bytes) + " vs du " +
                                   std::to_string(*reference);
            }
        }
        if (mismatch.empty()) break;
    }
    for (const auto& [folder, why] : mismatch) ADD_FAILURE() << folder << ": " << why;
}

}  // namespace
}  // namespace kelvane
