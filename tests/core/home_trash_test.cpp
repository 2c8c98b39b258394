#include "core/home_trash.h"

#include <gtest/gtest.h>

#include <string>

#include "core/home_folder.h"
#include "support/scoped_env.h"

using namespace kelvane;

using test::ScopedEnv;

TEST(HomeTrash, FolderFollowsXdgDataHomeOnlyWhenAbsolute) {
    EXPECT_EQ(HomeTrash::folderFor("/home/u", "/data"), "/data/Trash");
    EXPECT_EQ(HomeTrash::folderFor("/home/u", "/data//"), "/data/Trash");
    EXPECT_EQ(HomeTrash::folderFor("/home/u", "/"), "/Trash");
    // Unset, empty and relative values all mean the default below home.
    EXPECT_EQ(HomeTrash::folderFor("/home/u", nullptr), "/home/u/.local/share/Trash");
    EXPECT_EQ(HomeTrash::folderFor("/home/u", ""), "/home/u/.local/share/Trash");
    EXPECT_EQ(HomeTrash::folderFor("/home/u", "data"), "/home/u/.local/share/Trash");
    EXPECT_EQ(HomeTrash::folderFor("/", nullptr), "/.local/share/Trash");
    EXPECT_EQ(HomeTrash::filesOf("/data/Trash"), "/data/Trash/files");
    EXPECT_EQ(HomeTrash::filesOf("/data/Trash/"), "/data/Trash/files");
}

TEST(HomeTrash, CurrentReadsTheEnvironmentEachTime) {
    const ScopedEnv home("HOME", "/home/someone/");
    {
        const ScopedEnv data("XDG_DATA_HOME", "/elsewhere/share");
        EXPECT_EQ(HomeTrash::current(), "/elsewhere/share/Trash");
    }
    const ScopedEnv data("XDG_DATA_HOME", "");  // empty means the default
    EXPECT_EQ(HomeFolder::find(), "/home/someone");
    EXPECT_EQ(HomeTrash::current(), "/home/someone/.local/share/Trash");
}

TEST(HomeFolder, RelativeHomeFallsBackToThePasswordDatabase) {
    const ScopedEnv home("HOME", "not/absolute");
    const std::string found = HomeFolder::find();
    ASSERT_FALSE(found.empty());
    EXPECT_EQ(found.front(), '/');
    EXPECT_TRUE(found == "/" || found.back() != '/') << found;
}
