#include "core/home_trash.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "core/home_folder.h"

using namespace kelvane;

namespace {

// Sets an environment variable for one scope and puts the old value back.
class ScopedEnv {
  public:
    ScopedEnv(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        value ? ::setenv(name, value, 1) : ::unsetenv(name);
    }
    ~ScopedEnv() { old_ ? ::setenv(name_, old_->c_str(), 1) : ::unsetenv(name_); }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

  private:
    const char* name_;
    std::optional<std::string> old_;
};

}  // namespace

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
    const ScopedEnv data("XDG_DATA_HOME", nullptr);
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
