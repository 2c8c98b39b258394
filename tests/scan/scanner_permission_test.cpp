#include <sys/stat.h>

#include <gtest/gtest.h>

#include "scan/entry_lister.h"
#include "scan/fts_reference_scan.h"
#include "scan/path_glob.h"
#include "scan/size_store.h"
#include "support/run_as_test_user.h"
#include "support/temp_tree.h"

// These run their checks as the unprivileged user kelvane-test, for whom EACCES really happens.

using namespace kelvane;
using kelvane::test::checkAsTestUser;
using kelvane::test::TempTree;
using kelvane::test::testUserFolder;

namespace {

// locked: mode 000 with content; blind: readable but not searchable, so its names can be
// listed but not one of its items examined.
void checkRefusals(const std::string& root) {
    const std::string locked = root + "/locked";
    const std::string blind = root + "/blind";
    // The walker agrees with the classic walk: locked is entered but cannot be listed, blind's
    // two files cannot be examined.
    test::expectSameAsReference(root);

    const SizeStore store;
    EXPECT_EQ(EntryLister::list(locked, store), std::nullopt);
    const auto blindEntries = EntryLister::list(blind, store);
    ASSERT_TRUE(blindEntries);
    ASSERT_EQ(blindEntries->size(), 2u);
    for (const Entry& e : *blindEntries) {  // listed, but as items of no size and no date
        EXPECT_FALSE(e.isDir);
        EXPECT_EQ(e.size, 0);
        EXPECT_EQ(e.modified, std::nullopt);
    }

    EXPECT_TRUE(PathGlob::expand(locked + "/*").empty());
}

}  // namespace

TEST(AsTestUser, RefusedFoldersAndItemsAreCountedNotWalked) {
    if (const auto tree = testUserFolder()) return checkRefusals(*tree);
    TempTree t;
    ASSERT_TRUE(t.dir("readable") && t.file("readable/f", 5000));
    ASSERT_TRUE(t.dir("locked") && t.file("locked/f", 90000) && t.dir("locked/sub"));
    ASSERT_TRUE(t.dir("blind") && t.file("blind/f", 90000) && t.file("blind/g", 1));
    ASSERT_EQ(::chmod((t / "locked").c_str(), 0), 0);
    ASSERT_EQ(::chmod((t / "blind").c_str(), 0444), 0);
    checkAsTestUser(t.path(), checkRefusals);
}
