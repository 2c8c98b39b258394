#include <sys/stat.h>

#include <gtest/gtest.h>

#include <algorithm>

#include "scan/entry_lister.h"
#include "scan/scanner.h"
#include "scan/size_store.h"
#include "support/temp_tree.h"

using namespace kelvane;
using kelvane::test::allocated;
using kelvane::test::TempTree;

namespace {

// The entry named `name`; an empty Entry (which no check expects) when there is none.
Entry find(const std::vector<Entry>& entries, const std::string& name) {
    const auto it = std::ranges::find(entries, name, &Entry::name);
    return it == entries.end() ? Entry{} : *it;
}

}  // namespace

TEST(EntryLister, ListsEveryKindOfItemWithoutFollowingLinks) {
    TempTree t;
    const std::string odd("\xfe\xff\nname", 7);
    ASSERT_TRUE(t.dir("folder") && t.file("folder/inner", 50000) && t.file(".hidden", 1));
    ASSERT_TRUE(t.file("empty", 0) && t.file(odd, 10));
    ASSERT_TRUE(t.symlink(t / "folder", "link"));

    SizeStore store;
    const auto listed = EntryLister::list(t.path(), store);
    ASSERT_TRUE(listed);
    ASSERT_EQ(listed->size(), 5u);

    const Entry hidden = find(*listed, ".hidden");
    EXPECT_EQ(hidden.path, t / ".hidden");
    EXPECT_EQ(hidden.size, allocated(t / ".hidden"));
    EXPECT_EQ(find(*listed, "empty").size, 0);
    EXPECT_EQ(find(*listed, odd).path, t / odd);

    struct stat status {};
    ASSERT_EQ(::lstat((t / "empty").c_str(), &status), 0);
    EXPECT_EQ(find(*listed, "empty").modified, Date{static_cast<double>(status.st_mtim.tv_sec)});

    const Entry link = find(*listed, "link");
    EXPECT_TRUE(link.isSymlink);
    EXPECT_FALSE(link.isDir);
    EXPECT_EQ(link.size, allocated(t / "link"));

    // A folder's size is whatever the store holds for it, absent until measured.
    EXPECT_TRUE(find(*listed, "folder").isDir);
    EXPECT_EQ(find(*listed, "folder").size, std::nullopt);
    Scanner::scan(t / "folder", store);
    EXPECT_EQ(EntryLister::entry(t / "folder", store).size,
              allocated(t / "folder") + allocated(t / "folder/inner"));
}

TEST(EntryLister, PackagesAreFoldersWithAKnownExtensionInAnyCase) {
    TempTree t;
    for (const char* folder : {"Tool.app", "Panel.prefPane", "Panel.prefpane", "Viewer.QLGenerator",
                               "Plain", "x.app.old"}) {
        ASSERT_TRUE(t.dir(folder));
    }
    ASSERT_TRUE(t.file("File.app", 1));
    SizeStore store;
    const auto listed = EntryLister::list(t.path(), store);
    ASSERT_TRUE(listed);
    for (const Entry& e : *listed) {
        const bool expected = e.name != "Plain" && e.name != "x.app.old" && e.name != "File.app";
        EXPECT_EQ(e.isPackage, expected) << e.name;
    }
}

TEST(EntryLister, RootFilesMissingPathsAndEmptyFolders) {
    SizeStore store;
    const auto root = EntryLister::list("/", store);
    ASSERT_TRUE(root);
    ASSERT_FALSE(root->empty());
    for (const Entry& e : *root) EXPECT_EQ(e.path, "/" + e.name);

    TempTree t;
    ASSERT_TRUE(t.dir("empty") && t.file("file", 1));
    EXPECT_EQ(EntryLister::list(t / "empty", store), std::vector<Entry>{});
    EXPECT_EQ(EntryLister::list(t / "file", store), std::nullopt);
    EXPECT_EQ(EntryLister::list(t / "missing", store), std::nullopt);

    // An item that vanished after it was listed still gets a row.
    const Entry gone = EntryLister::entry(t / "missing", store);
    EXPECT_EQ(gone, (Entry{t / "missing", "missing", false, false, false, 0, std::nullopt}));

    // A folder big enough to be shared between two threads: every row as if listed alone.
    TempTree shm("/dev/shm");
    for (int i = 0; i < 5000; ++i) ASSERT_TRUE(shm.file(std::to_string(i), i % 7 == 0 ? 9000 : 0));
    ASSERT_TRUE(shm.dir("sub") && shm.symlink("sub", "link"));
    const auto big = EntryLister::list(shm.path(), store);
    ASSERT_TRUE(big);
    EXPECT_EQ(big->size(), 5002u);
    for (const Entry& e : *big) EXPECT_EQ(e, EntryLister::entry(shm / e.name, store)) << e.name;
}
