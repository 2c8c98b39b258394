#include "scan/entry_lister.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cctype>

#include "core/path_text.h"
#include "scan/folder_stream.h"
#include "scan/owned_fd.h"
#include "scan/size_store.h"

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
Entry makeEntry(std::string path, std::string name, const struct stat* status,
                const SizeStore& store) {
    Entry out;
    out.path = std::move(path);
    out.name = std::move(name);
    if (status == nullptr) {
        // Vanished or unexaminable: still shown, as an item of no size and no date.
        out.size = 0;
        return out;
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
    return out;
}

}  // namespace

bool isPackageExtension(std::string_view extension) {
    return std::ranges::any_of(kPackageExtensions, [&](std::string_view known) {
        return equalIgnoringCase(known, extension);
    });
}

Entry entry(const std::string& path, const SizeStore& store) {
    struct stat status {};
    const bool examined = ::lstat(path.c_str(), &status) == 0;
    return makeEntry(path, PathText::lastComponent(path), examined ? &status : nullptr, store);
}

std::optional<std::vector<Entry>> list(const std::string& dir, const SizeStore& store) {
    // Opened like opendir does (a link to a folder is followed); each item is then examined
    // relative to this descriptor, so the kernel never resolves the folder's path again.
    OwnedFd fd(::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!fd.valid()) return std::nullopt;
    FolderStream names(std::move(fd));
    std::vector<Entry> entries;
    FolderItem item;
    for (;;) {
        const FolderStream::Step step = names.next(item);
        if (step == FolderStream::Step::end) break;
        if (step == FolderStream::Step::failed) return std::nullopt;  // never a half listing
        struct stat status {};
        const bool examined = ::fstatat(names.fd(), item.name, &status, AT_SYMLINK_NOFOLLOW) == 0;
        // join never doubles the slash, so "/" gives "/usr" and child paths match the keys the
        // scanner records for the same folders.
        entries.push_back(makeEntry(PathText::join(dir, item.view()), std::string(item.view()),
                                    examined ? &status : nullptr, store));
    }
    return entries;
}

}  // namespace kelvane::EntryLister
