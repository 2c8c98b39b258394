#include "system/cleaner.h"

#include <dirent.h>

#include <unistd.h>

#include <array>
#include <climits>
#include <cstring>
#include <memory>
#include <string_view>

#include "core/path_text.h"
#include "system/admin_helper.h"
#include "system/admin_protocol.h"
#include "system/deletion_progress.h"
#include "system/shell.h"
#include "system/trash.h"
#include "system/tree_remover.h"

namespace kelvane {
namespace {

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
    return AdminHelper::path();
}

AdminDeleteResult Cleaner::deleteAsAdmin(const std::vector<std::string>& paths) {
    return deleteAsAdminVia(AdminHelper::pkexecPath, adminHelperPath(), paths);
}

AdminDeleteResult Cleaner::deleteAsAdminVia(const std::string& elevator, const std::string& helper,
                                            const std::vector<std::string>& paths) {
    AdminDeleteResult result;
    if (paths.empty()) return result;
    const AdminHelper::Run run =
        AdminHelper::run(elevator, helper, {}, AdminProtocol::encodeRequest(paths));
    result.run = run.result;
    result.elevationMissing = run.elevationMissing;
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
