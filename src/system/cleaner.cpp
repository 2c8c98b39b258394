#include "system/cleaner.h"

#include <dirent.h>

#include <unistd.h>

#include <array>
#include <climits>
#include <cstring>
#include <memory>
#include <string_view>

#include "core/path_text.h"
#include "system/admin_protocol.h"
#include "system/deletion_progress.h"
#include "system/shell.h"
#include "system/trash.h"
#include "system/tree_remover.h"

namespace kelvane {
namespace {

constexpr const char* kPkexec = "/usr/bin/pkexec";
constexpr const char* kHelperName = "kelvane-admin";
// pkexec's statuses: the dialog was dismissed; authorisation failed or
// could not be asked for.
constexpr int kPkexecDismissed = 126;
constexpr int kPkexecRefused = 127;

struct DirCloser {
    void operator()(DIR* d) const { closedir(d); }
};

}  // namespace

std::vector<std::string> Cleaner::contents(const std::string& folder) {
    std::vector<std::string> paths;
    const std::unique_ptr<DIR, DirCloser> dir(opendir(folder.c_str()));
    if (!dir) return {};
    // Callers pass folders without a trailing slash; only the root has one.
    const std::string prefix = folder == "/" ? "/" : folder + "/";
    errno = 0;
    while (const dirent* entry = readdir(dir.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") paths.push_back(prefix + std::string(name));
        errno = 0;
    }
    // A listing that broke off half way is a failed listing.
    if (errno != 0) return {};
    return paths;
}

DeleteOutcome Cleaner::deleteItems(const std::vector<std::string>& paths, bool permanent,
                                   const std::function<std::int64_t(const std::string&)>& sizeOf,
                                   DeletionProgress* progress) {
    DeleteOutcome outcome;
    DeletionRules::Locator locator(DeletionRules::LinkTrust::currentUser());
    for (const std::string& path : paths) {
        if (progress && progress->stopRequested()) {
            outcome.failures.push_back({path, FileError::refusal(FileError::notStarted)});
            continue;
        }
        // The size is taken first: afterwards there is nothing left to measure.
        const std::int64_t size = sizeOf(path);
        const std::optional<FileError> error = permanent
                                                   ? TreeRemover::remove(path, locator, progress)
                                                   : Trash::moveToTrash(path, locator);
        if (progress) {
            // A move to the trash frees nothing; it counts as one item moved.
            if (!permanent && !error) progress->removed(0);
            progress->itemDone();
        }
        if (error) {
            outcome.failures.push_back({path, *error});
            continue;
        }
        outcome.deleted.push_back({path, size});
        // Removing an item of the Trash for good leaves its info file behind
        // unless we take it too. The item itself is gone either way, which is
        // what the user asked for, so a stale info file that cannot be
        // removed is not reported as a failed deletion.
        if (permanent) static_cast<void>(Trash::forgetRemovedItem(path));
    }
    return outcome;
}

std::string Cleaner::adminHelperPath() {
    // A build tree has the helper beside the app; an installed app finds it
    // where the package put it (the path its polkit action names).
    std::array<char, PATH_MAX> self{};
    const ssize_t n = ::readlink("/proc/self/exe", self.data(), self.size() - 1);
    if (n > 0) {
        const std::string sibling = PathText::join(
            PathText::parent(std::string(self.data(), static_cast<std::size_t>(n))), kHelperName);
        if (::access(sibling.c_str(), X_OK) == 0) return sibling;
    }
    return KELVANE_ADMIN_HELPER;
}

AdminDeleteResult Cleaner::deleteAsAdmin(const std::vector<std::string>& paths) {
    return deleteAsAdminVia(kPkexec, adminHelperPath(), paths);
}

AdminDeleteResult Cleaner::deleteAsAdminVia(const std::string& elevator, const std::string& helper,
                                            const std::vector<std::string>& paths) {
    AdminDeleteResult result;
    if (paths.empty()) return result;
    const auto nothingDone = [&](std::string why) {
        result.run = {-1, "", std::move(why)};
        result.outcome = AdminProtocol::decodeResults(paths, "");
        return result;
    };
    if (!elevator.empty() && ::access(elevator.c_str(), X_OK) != 0) {
        result.elevationMissing = true;
        return nothingDone("管理者権限を得るためのプログラム (pkexec) がありません");
    }
    if (::access(helper.c_str(), X_OK) != 0) {
        return nothingDone("管理者権限で削除する補助プログラム (kelvane-admin) が見つかりません");
    }
    const std::string request = AdminProtocol::encodeRequest(paths);
    result.run = elevator.empty() ? Shell::runWithInput(helper, {}, request)
                                  : Shell::runWithInput(elevator, {helper}, request);
    if (!elevator.empty()) {
        if (result.run.status == kPkexecDismissed) {
            // The flows recognise a dismissed password dialog by "-128".
            result.run.err = "認証が取り消されました (-128)";
        } else if (result.run.status == kPkexecRefused) {
            // pkexec says this in English: no authentication agent, or not
            // authorised.
            result.run.err =
                "管理者の認証を行えませんでした "
                "(認証エージェントが動いていないか、許可されていません)";
        }
    }
    result.outcome = AdminProtocol::decodeResults(paths, result.run.out);
    // Root removed items of the user's trash: their info files are the
    // user's, and without the items they describe nothing.
    for (const DeletedItem& item : result.outcome.deleted) {
        static_cast<void>(Trash::forgetRemovedItem(item.path));
    }
    return result;
}

std::optional<int> Cleaner::underlyingErrno(const FileError& error) {
    return error.posixErrno();
}

}  // namespace kelvane
