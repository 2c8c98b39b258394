#include "system/history_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "core/fnv1a.h"
#include "core/home_folder.h"
#include "core/unique_fd.h"
#include "system/error_text.h"
#include "system/fd_io.h"
#include "system/history_codec.h"

namespace kelvane {
namespace {

constexpr std::string_view suffix = ".history";
constexpr std::string_view tempMark = ".history.tmp-";
// Far more than the size limit lets a file reach: anything larger is not ours to read whole.
constexpr off_t largestReadable = 64 << 20;

struct DirCloser {
    void operator()(DIR* dir) const { closedir(dir); }
};
using DirHandle = std::unique_ptr<DIR, DirCloser>;

std::string withoutTrailingSlash(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    return std::string(path);
}

HistoryError failure(int errnum, std::string what) {
    return {errnum, std::move(what) + ": " + ErrorText::posix(errnum)};
}

// Creates `folder` and the folders above it that are missing, owner-only as the state folder
// should be.
int makeFolders(const std::string& folder) {
    for (std::size_t at = folder.find('/', 1);; at = folder.find('/', at + 1)) {
        const std::string prefix = folder.substr(0, at);
        if (!prefix.empty() && mkdir(prefix.c_str(), 0700) != 0 && errno != EEXIST) return errno;
        if (at == std::string::npos) return 0;
    }
}

bool isOurs(std::string_view name) {
    return name.ends_with(suffix) || name.ends_with(".history.broken") ||
           name.ends_with(".history.newer") || name.find(tempMark) != std::string_view::npos;
}

// The file's bytes, or the errno that stopped reading them (EFBIG for an outsized file).
std::pair<std::string, int> readAt(int folder, const char* name) {
    const UniqueFd fd(openat(folder, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY));
    if (!fd.valid()) return {{}, errno};
    struct stat st {};
    if (fstat(fd.get(), &st) != 0) return {{}, errno};
    if (!S_ISREG(st.st_mode)) return {{}, EINVAL};
    if (st.st_size > largestReadable) return {{}, EFBIG};
    std::string bytes;
    if (!FdIo::readAll(fd.get(), bytes)) return {{}, errno};
    return {std::move(bytes), 0};
}

// Renames a file we cannot use out of the way, so the next save starts a fresh one without
// destroying what a person or a newer Kelvane may still want. One set-aside copy per category
// is kept: a later one replaces it.
HistoryError setAside(int folder, const std::string& path, const std::string& name,
                      std::string_view why, std::string_view aside) {
    const std::string newName = name + std::string(aside);
    if (renameat(folder, name.c_str(), folder, newName.c_str()) != 0) {
        return failure(errno, "履歴ファイル「" + path + "」は" + std::string(why) +
                                  "ため使えませんが、退避できませんでした");
    }
    return {0, "履歴ファイル「" + path + "」は" + std::string(why) + "ため「" + newName +
                   "」として退避し、このカテゴリの履歴を新しく始めます"};
}

// Whether the file at `path` was written by a newer Kelvane, which we must not overwrite.
bool isNewerFormat(const std::string& path) {
    const UniqueFd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY));
    if (!fd.valid()) return false;
    std::string head(12, '\0');
    return pread(fd.get(), head.data(), head.size(), 0) == static_cast<ssize_t>(head.size()) &&
           HistoryCodec::isNewer(head);
}

}  // namespace

std::string HistoryFile::folderFor(std::string_view home, const char* stateHome) {
    // A relative XDG_STATE_HOME is invalid and must be ignored, so a stray value never puts the
    // history below whatever folder Kelvane was started in.
    if (stateHome != nullptr && stateHome[0] == '/') {
        return withoutTrailingSlash(stateHome) + "/kelvane";
    }
    std::string base = withoutTrailingSlash(home);
    if (base == "/") base.clear();
    return base + "/.local/state/kelvane";
}

std::string HistoryFile::defaultFolder() {
    return folderFor(HomeFolder::find(), std::getenv("XDG_STATE_HOME"));
}

std::string HistoryFile::fileNameFor(std::string_view categoryID) {
    std::string name;
    for (const char c : categoryID.substr(0, 48)) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                           (c >= '0' && c <= '9') || c == '_' || c == '-';
        name.push_back(plain ? c : '_');
    }
    char hash[17];
    std::snprintf(hash, sizeof hash, "%016llx", static_cast<unsigned long long>(fnv1a(categoryID)));
    return name + "-" + hash + std::string(suffix);
}

LoadedHistories HistoryFile::loadAll(const std::string& folder) {
    LoadedHistories loaded;
    const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        if (errno != ENOENT) {
            loaded.problems.push_back(
                failure(errno, "履歴フォルダ「" + folder + "」を読み込めませんでした"));
        }
        return loaded;
    }
    const DirHandle dir(fdopendir(fd));
    if (!dir) {
        const int error = errno;
        close(fd);
        loaded.problems.push_back(
            failure(error, "履歴フォルダ「" + folder + "」を読み込めませんでした"));
        return loaded;
    }
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(dir.get());
        if (entry == nullptr) {
            if (errno != 0) {
                loaded.problems.push_back(
                    failure(errno, "履歴フォルダ「" + folder + "」を読み込めませんでした"));
            }
            break;
        }
        names.emplace_back(entry->d_name);
    }
    for (const auto& name : names) {
        const std::string path = folder + "/" + name;
        if (name.find(tempMark) != std::string::npos) {
            // Left by a save that never finished; the file it was to replace is intact.
            unlinkat(dirfd(dir.get()), name.c_str(), 0);
            continue;
        }
        if (!std::string_view(name).ends_with(suffix)) continue;
        const auto [bytes, error] = readAt(dirfd(dir.get()), name.c_str());
        if (error != 0) {
            loaded.problems.push_back(setAside(dirfd(dir.get()), path, name,
                                               "読み込めない (" + ErrorText::posix(error) + ")",
                                               ".broken"));
            continue;
        }
        auto decoded = HistoryCodec::decode(bytes);
        if (!decoded.history) {
            const bool newer = decoded.problem == HistoryCodec::Problem::newer;
            loaded.problems.push_back(
                setAside(dirfd(dir.get()), path, name,
                         newer ? "新しいバージョンの Kelvane の形式の" : "壊れていた",
                         newer ? ".newer" : ".broken"));
            continue;
        }
        // A file whose name does not belong to the id inside was put here by someone else.
        if (fileNameFor(decoded.history->categoryID()) != name) continue;
        loaded.histories.push_back(std::move(*decoded.history));
    }
    std::sort(loaded.histories.begin(), loaded.histories.end(),
              [](const auto& a, const auto& b) { return a.categoryID() < b.categoryID(); });
    return loaded;
}

std::optional<HistoryError> HistoryFile::save(const std::string& folder,
                                              const CategoryHistory& history) {
    const std::string target = folder + "/" + fileNameFor(history.categoryID());
    const std::string what = "履歴を記録できませんでした (「" + target + "」)";
    if (const int error = makeFolders(folder); error != 0) return failure(error, what);
    if (isNewerFormat(target)) {
        return HistoryError{0, what + ": 新しいバージョンの Kelvane の形式のため上書きしません"};
    }
    std::string temp = target + std::string(tempMark.substr(suffix.size())) + "XXXXXX";
    UniqueFd fd(mkostemp(temp.data(), O_CLOEXEC));
    if (!fd.valid()) return failure(errno, what);
    const auto fail = [&](int error) {
        fd.reset();
        unlink(temp.c_str());
        return failure(error, what);
    };
    if (!FdIo::writeAll(fd.get(), HistoryCodec::encode(history))) return fail(errno);
    if (fsync(fd.get()) != 0) return fail(errno);
    if (fd.reset() != 0) return fail(errno);
    // The rename replaces the old file whole, so after a crash the folder holds the old
    // history or the new one. Syncing the folder too would only make the newest measurement
    // survive a power cut, at the price of a second flush for every category at every launch.
    if (rename(temp.c_str(), target.c_str()) != 0) return fail(errno);
    return std::nullopt;
}

std::optional<HistoryError> HistoryFile::clear(const std::string& folder) {
    const std::string what = "履歴を消去できませんでした (「" + folder + "」)";
    const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        if (errno == ENOENT) return std::nullopt;
        return failure(errno, what);
    }
    const DirHandle dir(fdopendir(fd));
    if (!dir) {
        const int error = errno;
        close(fd);
        return failure(error, what);
    }
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(dir.get());
        if (entry == nullptr) {
            if (errno != 0) return failure(errno, what);
            break;
        }
        if (isOurs(entry->d_name)) names.emplace_back(entry->d_name);
    }
    for (const auto& name : names) {
        if (unlinkat(dirfd(dir.get()), name.c_str(), 0) != 0 && errno != ENOENT) {
            return failure(errno, what);
        }
    }
    // Other files in the folder are not ours; then it stays.
    if (rmdir(folder.c_str()) != 0 && errno != ENOTEMPTY && errno != EEXIST && errno != ENOENT) {
        return failure(errno, what);
    }
    return std::nullopt;
}

}  // namespace kelvane
