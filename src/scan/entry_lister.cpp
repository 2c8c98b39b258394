#include "scan/entry_lister.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cctype>

#include "core/path_text.h"
#include "scan/dir_listing.h"
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
    if (::lstat(path.c_str(), &status) != 0) {
        // Vanished or unexaminable: still shown, as an item of no size and no date.
        out.size = 0;
        return out;
    }
    out.isSymlink = S_ISLNK(status.st_mode);
    out.isDir = S_ISDIR(status.st_mode);
    if (out.isDir) {
        out.size = store.size(path);
    } else {
        out.size = static_cast<std::int64_t>(status.st_blocks) * 512;
    }
    out.modified = Date{static_cast<double>(status.st_mtim.tv_sec)};
    out.isPackage = out.isDir && isPackageExtension(PathText::extension(out.name));
    return out;
}

std::optional<std::vector<Entry>> list(const std::string& dir, const SizeStore& store) {
    const auto names = listFolderNames(dir);
    if (!names) return std::nullopt;
    std::vector<Entry> entries;
    entries.reserve(names->size());
    // join never doubles the slash, so "/" gives "/usr" and child paths match the keys the
    // scanner records for the same folders.
    for (const std::string& name : *names)
        entries.push_back(entry(PathText::join(dir, name), store));
    return entries;
}

}  // namespace kelvane::EntryLister
