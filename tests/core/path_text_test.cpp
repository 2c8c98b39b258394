#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "core/path_text.h"

using namespace kelvane;

TEST(PathText, Parent) {
    EXPECT_EQ(PathText::parent("/a/b"), "/a");
    EXPECT_EQ(PathText::parent("/a/b/"), "/a");
    EXPECT_EQ(PathText::parent("/a/b//"), "/a");
    EXPECT_EQ(PathText::parent("/a"), "/");
    EXPECT_EQ(PathText::parent("/"), "/");
    EXPECT_EQ(PathText::parent("a"), "");
    EXPECT_EQ(PathText::parent("a/b"), "a");
    EXPECT_EQ(PathText::parent("/tmp/"), "/");
    EXPECT_EQ(PathText::parent("/var/folders/xy/abc/T/"), "/var/folders/xy/abc");
}

TEST(PathText, LastComponentAndExtension) {
    EXPECT_EQ(PathText::lastComponent("/a/b.txt"), "b.txt");
    EXPECT_EQ(PathText::lastComponent("/a/b/"), "b");
    EXPECT_EQ(PathText::lastComponent("/"), "/");
    EXPECT_EQ(PathText::extension("/x/App.APP"), "APP");
    EXPECT_EQ(PathText::extension("/x/archive.tar.gz"), "gz");
    EXPECT_EQ(PathText::extension("/x/.npm"), "");
    EXPECT_EQ(PathText::extension("/x/name."), "");
    EXPECT_EQ(PathText::extension("/x.d/name"), "");
}

TEST(PathText, JoinNeverDoublesTheSlash) {
    EXPECT_EQ(PathText::join("/", "usr"), "/usr");
    EXPECT_EQ(PathText::join("/a", "b"), "/a/b");
    EXPECT_EQ(PathText::join("/a/", "b"), "/a/b");
    const std::string odd("n\xff\n'", 4);
    EXPECT_EQ(PathText::join("/a", odd), "/a/" + odd);
}

TEST(PathText, AbsoluteJoinsTheWorkingFolderAndDropsOnlyEmptyAndDotParts) {
    const std::string odd("n\xff\n'", 4);
    for (const auto& [given, expected] : std::vector<std::pair<std::string, std::string>>{
             {".", "/home/u"},
             {"./x//y/", "/home/u/x/y"},
             {"../shared", "/home/u/../shared"},  // ".." stays: a link may lead elsewhere
             {"/abs/./p/", "/abs/p"},
             {"/", "/"},
             {odd, "/home/u/" + odd}}) {
        EXPECT_EQ(PathText::absolute(given, "/home/u"), expected) << given;
    }
}

TEST(PathText, ShortFormAndContainment) {
    EXPECT_EQ(PathText::shortForm("/Users/a", "/Users/a"), "~");
    EXPECT_EQ(PathText::shortForm("/Users/a/Library", "/Users/a"), "~/Library");
    EXPECT_EQ(PathText::shortForm("/Users/ab", "/Users/a"), "/Users/ab");
    EXPECT_EQ(PathText::shortForm("/Library", "/Users/a"), "/Library");

    EXPECT_TRUE(PathText::isSameOrBelow("/a/b", "/a/b"));
    EXPECT_TRUE(PathText::isSameOrBelow("/a/b/c", "/a/b"));
    EXPECT_TRUE(PathText::isSameOrBelow("/a/b/c", "/a/b/"));
    EXPECT_FALSE(PathText::isSameOrBelow("/a/bc", "/a/b"));
    EXPECT_TRUE(PathText::isSameOrBelow("/x", "/"));
}
