#include "scan/entry_lister.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <thread>

#include "core/path_text.h"
#include "scan/folder_stream.h"
#include "core/unique_fd.h"
#include "scan/size_store.h"
#include "scan/thread_budget.h"

namespace kelvane::EntryLister {
namespace {

// Folder extensions that the desktop presents as one document rather than a folder to open.
constexpr std::array<std::string_view, 15> kPackageExtensions = {
    "app",       "bundle",      "framework",  "xcarchive", "photoslibrary",
    "xcodeproj", "xcworkspace", "playground", "appex",     "kext",
    "prefPane",  "qlgenerator", "plugin",     "docset",    "xcassets"};

bool equalIgnoringCase(std::string_view a, std::string_view b) {
    // ASCII folding only: the listed extensions are ASCII, and bytes of other names must never
    // be mistaken for letters by a locale-dependent tolower.
    const auto lower = [](unsigned char c) { return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c; };
    return std::ranges::equal(a, b, [&](char x, char y) {
        return lower(static_cast<unsigned char>(x)) == lower(static_cast<unsigned char>(y));
    });
}

// The row for an item whose status is `status`, or null when it could not be examined.
// Fills in what `status` says about `out`, whose path and name are set; null when the item
// could not be examined.
void describe(Entry& out, const struct stat* status, const SizeStore& store) {
    if (status == nullptr) {
        // Vanished or unexaminable: still shown, as an item of no size and no date.
        out.size = 0;
        return;
    }
    out.isSymlink = S_ISLNK(status->st_mode);
    out.isDir = S_ISDIR(status->st_mode);
    if (out.isDir) {
        out.size = store.size(out.path);
    } else {
        out.size = static_cast<std::int64_t>(status->st_blocks) * 512;
    }
    out.modified = Date{static_cast<double>(status->st_mtim.tv_sec)};
    out.isPackage = out.isDir && isPackageExtension(PathText::extension(out.name));
}

// Examines entries [from, to) of `entries`, which hold their names, in the folder `dirFd`.
void examine(std::vector<Entry>& entries, std::size_t from, std::size_t to, int dirFd,
             const std::string& dir, const SizeStore& store) {
    for (std::size_t i = from; i < to; ++i) {
        Entry& e = entries[i];
        // join never doubles the slash, so "/" gives "/usr" and child paths match the keys the
        // scanner records for the same folders.
        e.path = PathText::join(dir, e.name);
        struct stat status {};
        const bool examined = ::fstatat(dirFd, e.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
        describe(e, examined ? &status : nullptr, store);
    }
}

// From this many items on, a second thread examines half of them when the budget spares one;
// for fewer, starting the thread would cost more than it saves.
constexpr std::size_t kSharedFrom = 4096;

}  // namespace

bool isPackageExtension(std::string_view extension) {
    return std::ranges::any_of(kPackageExtensions, [&](std::string_view known) {
        return equalIgnoringCase(known, extension);
    });
}

Entry entry(const std::string& path, const SizeStore& store) {
    Entry out;
    out.path = path;
    out.name = PathText::lastComponent(path);
    struct stat status {};
    const bool examined = ::lstat(path.c_str(), &status) == 0;
    describe(out, examined ? &status : nullptr, store);
    return out;
}

std::optional<std::vector<Entry>> list(const std::string& dir, const SizeStore& store) {
    // Opened like opendir does (a link to a folder is followed); each item is then examined
    // relative to this descriptor, so the kernel never resolves the folder's path again.
    UniqueFd fd(::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!fd.valid()) return std::nullopt;
    FolderStream names(std::move(fd));
    std::vector<Entry> entries;
    FolderItem item;
    for (;;) {
        const FolderStream::Step step = names.next(item);
        if (step == FolderStream::Step::end) break;
        if (step == FolderStream::Step::failed) return std::nullopt;  // never a half listing
        entries.emplace_back().name = std::string(item.view());
    }
    // Examining the items is nearly all the cost, one system call each: a big folder is shared
    // with a second thread, each filling in its own half of the list.
    std::optional<ThreadBudget::Share> share;
    if (entries.size() >= kSharedFrom) share = ThreadBudget::process().tryTake();
    const std::size_t half = share ? entries.size() / 2 : entries.size();
    {
        std::jthread helper;
        if (share) {
            helper = std::jthread(
                [&] { examine(entries, half, entries.size(), names.fd(), dir, store); });
        }
        examine(entries, 0, half, names.fd(), dir, store);
    }
    return entries;
}

}  // namespace kelvane::EntryLister
