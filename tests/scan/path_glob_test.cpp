#include <gtest/gtest.h>

#include "scan/path_glob.h"
#include "support/temp_tree.h"

using namespace kelvane;
using kelvane::test::TempTree;

using Paths = std::vector<std::string>;

TEST(PathGlob, MiddleWildcardMatchesHiddenNamesAndSortsByBytes) {
    TempTree home;
    ASSERT_TRUE(home.dir("Containers"));
    for (const char* name : {"B", "a", ".x"})
        ASSERT_TRUE(home.dir(std::string("Containers/") + name));
    ASSERT_TRUE(home.file("Containers/file", 1));
    const std::string c = home / "Containers";
    // Literal components after the wildcard are appended without any existence test.
    EXPECT_EQ(PathGlob::expand(c + "/*/Data/Library/Caches"),
              (Paths{c + "/.x/Data/Library/Caches", c + "/B/Data/Library/Caches",
                     c + "/a/Data/Library/Caches", c + "/file/Data/Library/Caches"}));
    // Doubled and trailing slashes leave no empty component.
    EXPECT_EQ(PathGlob::expand(c + "//?/"), (Paths{c + "/B", c + "/a"}));
}

TEST(PathGlob, LastWildcardMatchesFilesAndFolders) {
    TempTree xcode;
    for (const char* name : {"iOS DeviceSupport", "watchOS DeviceSupport", "DerivedData"}) {
        ASSERT_TRUE(xcode.dir(name));
    }
    ASSERT_TRUE(xcode.file("DeviceSupport", 1));
    EXPECT_EQ(PathGlob::expand(xcode / "*DeviceSupport"),
              (Paths{xcode / "DeviceSupport", xcode / "iOS DeviceSupport",
                     xcode / "watchOS DeviceSupport"}));
    EXPECT_EQ(
        PathGlob::expand(xcode / "[Dw]*"),
        (Paths{xcode / "DerivedData", xcode / "DeviceSupport", xcode / "watchOS DeviceSupport"}));
}

TEST(PathGlob, MissingBasesYieldNothingAndRelativePatternsStartAtRoot) {
    // Without a wildcard nothing is looked up or tidied.
    EXPECT_EQ(PathGlob::expand("/no//such/dir/"), Paths{"/no//such/dir/"});
    TempTree t;
    EXPECT_TRUE(PathGlob::expand(t / "missing/*/x").empty());
    EXPECT_TRUE(PathGlob::expand(t / "*/deeper/*").empty());  // the tree is empty
    ASSERT_TRUE(t.dir("only"));
    const std::string relative = t.path().substr(1) + "/o*";
    EXPECT_EQ(PathGlob::expand(relative), Paths{t / "only"});
}
