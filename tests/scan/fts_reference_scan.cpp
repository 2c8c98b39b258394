#include "scan/fts_reference_scan.h"

#include <fts.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>
#include <set>
#include <vector>

#include "scan/size_store.h"

namespace kelvane::test {

ReferenceScan ftsReferenceScan(const std::string& root) {
    ReferenceScan out;
    std::string rootCopy = root;
    char* const roots[] = {rootCopy.data(), nullptr};
    const auto close = [](FTS* walk) { (void)::fts_close(walk); };
    const std::unique_ptr<FTS, decltype(close)> walk(
        ::fts_open(roots, FTS_COMFOLLOW | FTS_NOCHDIR | FTS_PHYSICAL | FTS_XDEV, nullptr), close);
    // A running total per open folder, innermost last; `total` holds what is outside them all.
    std::vector<std::int64_t> open;
    std::int64_t total = 0;
    std::set<std::pair<dev_t, ino_t>> linked;
    const auto add = [&](std::int64_t bytes) { (open.empty() ? total : open.back()) += bytes; };
    const auto leave = [&](const FTSENT& entry) {
        const std::int64_t bytes = open.empty() ? 0 : open.back();
        if (!open.empty()) open.pop_back();
        out.sizes[std::string(entry.fts_path, entry.fts_pathlen)] = bytes;
        add(bytes);
    };
    errno = 0;
    while (const FTSENT* entry = walk ? ::fts_read(walk.get()) : nullptr) {
        ++out.visits;
        const struct stat& status = *entry->fts_statp;
        const int kind = entry->fts_info;
        if (kind == FTS_D) {
            ++out.stats.dirs;
            open.push_back(status.st_blocks * 512);
        } else if (kind == FTS_DP) {
            leave(*entry);
        } else if (kind == FTS_DNR || kind == FTS_ERR || kind == FTS_NS) {
            ++out.stats.unreadable;
            // A folder entered but not listable is closed like a finished one.
            if (static_cast<std::int64_t>(open.size()) == entry->fts_level + 1) leave(*entry);
        } else if (kind != FTS_DC &&  // a folder closing a cycle counts nothing
                   (status.st_nlink < 2 || linked.emplace(status.st_dev, status.st_ino).second)) {
            ++out.stats.files;
            add(status.st_blocks * 512);
        }
        errno = 0;
    }
    if (!walk || errno != 0) ++out.stats.unreadable;  // not opened, or given up part-way
    out.stats.bytes = total;
    return out;
}

void expectSameAsReference(const std::string& root) {
    const ReferenceScan expected = ftsReferenceScan(root);
    for (const ScanOptions& mode : kScanModes) {
        SCOPED_TRACE(root + " with " + std::to_string(mode.threads) + " thread(s), " +
                     std::to_string(mode.openFolders) + " open");
        SizeStore store;
        std::int64_t reports = 0;
        const ScanStats stats = Scanner::scan(
            root, store, [&](std::int64_t) { ++reports; }, {}, mode);
        EXPECT_EQ(stats, expected.stats);
        EXPECT_EQ(reports, expected.visits / Scanner::kPollInterval);
        EXPECT_EQ(store.count(), expected.sizes.size());
        for (const auto& [path, bytes] : expected.sizes) EXPECT_EQ(store.size(path), bytes) << path;
    }
}

}  // namespace kelvane::test
