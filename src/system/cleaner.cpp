#include "system/cleaner.h"

#include <dirent.h>

#include <cstring>
#include <memory>
#include <string_view>

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
                                   const std::function<std::int64_t(const std::string&)>& sizeOf) {
    DeleteOutcome outcome;
    for (const std::string& path : paths) {
        // The size is taken first: afterwards there is nothing left to measure.
        const std::int64_t size = sizeOf(path);
        const std::optional<FileError> error =
            permanent ? TreeRemover::remove(path) : Trash::moveToTrash(path);
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

std::string Cleaner::shellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) {
        if (c == '\'') {
            quoted += "'\\''";
        } else {
            quoted += c;
        }
    }
    quoted += '\'';
    return quoted;
}

std::string Cleaner::adminCommand(const std::vector<std::string>& paths) {
    std::string joined;
    for (const std::string& path : paths) {
        if (!joined.empty()) joined += ' ';
        joined += shellQuoted(path);
    }
    return "/bin/rm -rf " + joined;
}

ShellResult Cleaner::deleteAsAdmin(const std::vector<std::string>& paths) {
    if (paths.empty()) return {0, "", ""};
    return Shell::admin(adminCommand(paths));
}

std::optional<int> Cleaner::underlyingErrno(const FileError& error) {
    for (const FileError* e = &error; e != nullptr; e = e->underlying.get()) {
        if (std::string_view(e->domain) == FileError::posixDomain) return e->code;
    }
    return std::nullopt;
}

}  // namespace kelvane
