#include "system/flatpak_tools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "system/shell.h"
#include "test_support.h"

namespace kelvane {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Lines as flatpak 1.14 prints them into a pipe: no header, tab-separated,
// empty columns kept.
TEST(FlatpakParse, ReadsTheToolsPipedListings) {
    const std::vector<SimRuntime> runtimes = FlatpakTools::parseRuntimes(
        "org.kelvane.TestPlatform/x86_64/1.0\n"
        "org.kelvane.UnusedPlatform/x86_64/1.0\tkvlocal\tuser\t262\u00a0kB\n"
        "\n"
        "not a ref\n"
        "org.a//1.0\n"
        "org.freedesktop.Platform.GL.default/aarch64/23.08-extra",
        "system");
    ASSERT_EQ(runtimes.size(), 3u);
    const SimRuntime test("runtime/org.kelvane.TestPlatform/x86_64/1.0",
                          "org.kelvane.TestPlatform 1.0", "1.0", "x86_64", "Flatpak", 0, "system",
                          std::vector<std::string>{}, true);
    EXPECT_EQ(runtimes[0], test);
    EXPECT_EQ(runtimes[1].id, "runtime/org.kelvane.UnusedPlatform/x86_64/1.0");
    EXPECT_EQ(runtimes[2].name, "org.freedesktop.Platform.GL.default 23.08-extra");
    EXPECT_EQ(runtimes[2].build, "aarch64");

    const auto apps = FlatpakTools::parseAppRuntimes(
        "org.kelvane.TestApp\torg.kelvane.TestPlatform/x86_64/1.0\n"
        "org.kelvane.Broken\t\n"
        "org.kelvane.Lonely\n"
        "\torg.kelvane.TestPlatform/x86_64/1.0\n",
        "user");
    ASSERT_EQ(apps.size(), 1u);
    EXPECT_EQ(apps[0].app, "org.kelvane.TestApp");
    EXPECT_EQ(apps[0].runtime, "org.kelvane.TestPlatform/x86_64/1.0");

    for (const auto& [out, bytes] :
         std::vector<std::pair<std::string, std::optional<std::int64_t>>>{
             {"66560\n", 66560},
             {"8589934592", 8589934592},
             {"66.6\u00a0kB\n", std::nullopt},
             {"", std::nullopt},
             {"-1\n", std::nullopt},
             {"12\n13\n", std::nullopt}}) {
        EXPECT_EQ(FlatpakTools::parseSize(out), bytes) << out;
    }

    // What `uninstall --unused` printed with two pinned runtimes and one it removed.
    EXPECT_THAT(FlatpakTools::parsePinned(
                    "\nThese runtimes in installation 'user' are pinned and won't be removed; see "
                    "flatpak-pin(1):\n"
                    "  runtime/org.kelvane.TestPlatform/x86_64/1.0\n"
                    "  runtime/org.kelvane.UnusedPlatform/x86_64/1.0\n"
                    "Uninstalling runtime/org.kelvane.DepPlatform/x86_64/2.0\n"),
                ElementsAre("runtime/org.kelvane.TestPlatform/x86_64/1.0",
                            "runtime/org.kelvane.UnusedPlatform/x86_64/1.0"));
    // The lead is translated in other languages; the refs are not.
    EXPECT_THAT(FlatpakTools::parsePinned("Diese Laufzeiten sind angeheftet:\n  runtime/x/y/z\n"
                                          "Nothing unused to uninstall\n"
                                          "  Uninstalling runtime/a/b/c\n"),
                ElementsAre("runtime/x/y/z"));
}

// A user's app may run on the system's runtime; a system app never on the
// user's, and an app of another branch or arch uses nothing here.
TEST(FlatpakParse, LinksAppsToTheRuntimesTheyCanRunOn) {
    auto runtimes = FlatpakTools::parseRuntimes("org.r/x86_64/1\norg.r/x86_64/2\n", "user");
    for (SimRuntime& r : FlatpakTools::parseRuntimes("org.r/x86_64/1\n", "system")) {
        runtimes.push_back(r);
    }
    FlatpakTools::linkApps(runtimes, {{"org.b", "org.r/x86_64/1", "user"},
                                      {"org.a", "org.r/x86_64/1", "user"},
                                      {"org.a", "org.r/x86_64/1", "user"},
                                      {"org.sys", "org.r/x86_64/1", "system"},
                                      {"org.c", "org.r/aarch64/2", "user"}});
    EXPECT_THAT(runtimes[0].usedBy, ElementsAre("org.a", "org.b"));
    EXPECT_FALSE(runtimes[0].deletable);
    EXPECT_THAT(runtimes[1].usedBy, IsEmpty());
    EXPECT_TRUE(runtimes[1].deletable);
    EXPECT_THAT(runtimes[2].usedBy, ElementsAre("org.a", "org.b", "org.sys"));
}

TEST(FlatpakCommands, NameTheInstallationAndNeverAsk) {
    SimRuntime runtime;
    runtime.id = "runtime/org.r/x86_64/1";
    runtime.installation = "system";
    EXPECT_EQ(
        FlatpakTools::uninstallCommand(runtime),
        (ToolCommand{"/usr/bin/flatpak",
                     {"uninstall", "--noninteractive", "--system", "runtime/org.r/x86_64/1"}}));
    // The system's installation only once it has a repository.
    test::TempTree dir;
    const test::ScopedEnv system("FLATPAK_SYSTEM_DIR", dir / "system");
    EXPECT_EQ(FlatpakTools::systemFolder(), dir / "system");
    const auto last = [] { return FlatpakTools::uninstallUnusedCommands().back().arguments; };
    EXPECT_EQ(last(),
              (std::vector<std::string>{"uninstall", "--unused", "--noninteractive", "--user"}));
    ASSERT_TRUE(dir.dir("system") && dir.dir("system/repo"));
    EXPECT_EQ(last().back(), "--system");
    EXPECT_EQ(FlatpakTools::uninstallUnusedCommands().size(), 2u);
    EXPECT_THAT(FlatpakTools::list(dir / "no-flatpak"), IsEmpty());
}

// The real flatpak over a repository built on the spot, installed into
// private user and system folders.
class FlatpakInstalled : public ::testing::Test {
  protected:
    void SetUp() override {
        if (::access(FlatpakTools::flatpakPath, X_OK) != 0) {
            GTEST_SKIP() << "flatpak is not installed (scripts/setup.sh installs it)";
        }
    }
    // Builds the repository and, with "install", installs it for the user.
    void make(const std::string& mode) const {
        const ShellResult made =
            Shell::run("/bin/sh", {KELVANE_TEST_FLATPAK_REPO, dir.path() + "/work", mode});
        ASSERT_EQ(made.status, 0) << made.out << made.err;
    }

    ShellResult flatpak(const std::vector<std::string>& arguments) const {
        return Shell::run(FlatpakTools::flatpakPath, arguments);
    }
    // The runtime NAME of `branch` in `list`, or null.
    const SimRuntime* find(const std::vector<SimRuntime>& list, const std::string& name,
                           const std::string& branch) const {
        const auto it = std::find_if(list.begin(), list.end(), [&](const SimRuntime& r) {
            return r.id == "runtime/" + name + "/" + arch + "/" + branch;
        });
        return it == list.end() ? nullptr : &*it;
    }

    test::TempTree dir;
    test::ScopedEnv user{"FLATPAK_USER_DIR", dir.path() + "/user"};
    test::ScopedEnv system{"FLATPAK_SYSTEM_DIR", dir.path() + "/system"};
    std::string arch = [] {
        std::string out = Shell::run(FlatpakTools::flatpakPath, {"--default-arch"}).out;
        return out.substr(0, out.find('\n'));
    }();
};

TEST_F(FlatpakInstalled, ListsUsersAndSizesAndRemovesWhatNoAppNeeds) {
    make("install");
    std::vector<SimRuntime> listed = FlatpakTools::list();
    ASSERT_EQ(listed.size(), 3u);
    for (std::size_t i = 1; i < listed.size(); ++i) {
        EXPECT_GE(listed[i - 1].sizeBytes, listed[i].sizeBytes);
    }
    const SimRuntime* test = find(listed, "org.kelvane.TestPlatform", "1.0");
    const SimRuntime* unused = find(listed, "org.kelvane.UnusedPlatform", "1.0");
    const SimRuntime* dep = find(listed, "org.kelvane.DepPlatform", "2.0");
    ASSERT_TRUE(test && unused && dep);
    const SimRuntime needed = *test;
    EXPECT_THAT(test->usedBy, ElementsAre("org.kelvane.TestApp"));
    EXPECT_FALSE(test->deletable);
    EXPECT_THAT(dep->usedBy, ElementsAre("org.kelvane.DepApp"));
    EXPECT_THAT(unused->usedBy, IsEmpty());
    EXPECT_TRUE(unused->deletable);
    EXPECT_EQ(unused->installation, "user");
    // Flatpak's own byte count: at least the random payload it holds.
    EXPECT_GE(unused->sizeBytes, 262144);
    EXPECT_EQ(std::to_string(unused->sizeBytes) + "\n",
              flatpak({"info", "--user", "-s", unused->id}).out);

    // The tool refuses a runtime an app needs and says which app.
    const ToolCommand keep = FlatpakTools::uninstallCommand(needed);
    const ShellResult refused = Shell::run(keep.executable, keep.arguments);
    EXPECT_NE(refused.status, 0);
    EXPECT_THAT(refused.err, HasSubstr("org.kelvane.TestApp"));

    const ToolCommand one = FlatpakTools::uninstallCommand(*unused);
    EXPECT_EQ(Shell::run(one.executable, one.arguments).status, 0);
    listed = FlatpakTools::list();
    EXPECT_EQ(listed.size(), 2u);
    EXPECT_EQ(find(listed, "org.kelvane.UnusedPlatform", "1.0"), nullptr);

    // Once its app is gone, the dependency runtime is unused and unpinned:
    // --unused takes it and names the pinned one it keeps.
    ASSERT_EQ(flatpak({"uninstall", "--noninteractive", "--user", "org.kelvane.DepApp"}).status, 0);
    listed = FlatpakTools::list();
    ASSERT_NE(find(listed, "org.kelvane.DepPlatform", "2.0"), nullptr);
    EXPECT_TRUE(find(listed, "org.kelvane.DepPlatform", "2.0")->deletable);
    std::vector<std::string> pinned;
    for (const ToolCommand& command : FlatpakTools::uninstallUnusedCommands()) {
        const ShellResult result = Shell::run(command.executable, command.arguments);
        EXPECT_EQ(result.status, 0) << result.out << result.err;
        for (const std::string& ref : FlatpakTools::parsePinned(result.out)) pinned.push_back(ref);
    }
    EXPECT_THAT(pinned, ElementsAre("runtime/org.kelvane.TestPlatform/" + arch + "/1.0"));
    listed = FlatpakTools::list();
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].id, needed.id);
}

// A user's app running on the system's runtime: flatpak itself would remove
// that runtime from the system without a word, so only our list protects it.
TEST_F(FlatpakInstalled, AUsersAppKeepsTheSystemsRuntime) {
    if (::geteuid() != 0) GTEST_SKIP() << "installing for the system needs root";
    make("build");
    const std::string url = "file://" + dir.path() + "/work/repo";
    for (const char* where : {"--system", "--user"}) {
        ASSERT_EQ(flatpak({where, "remote-add", "--no-gpg-verify", "kvlocal", url}).status, 0);
    }
    ASSERT_EQ(flatpak({"--system", "install", "--noninteractive", "kvlocal",
                       "runtime/org.kelvane.TestPlatform/" + arch + "/1.0"})
                  .status,
              0);
    ASSERT_EQ(flatpak({"--user", "install", "--noninteractive", "kvlocal",
                       "app/org.kelvane.TestApp/" + arch + "/stable"})
                  .status,
              0);
    const std::vector<SimRuntime> listed = FlatpakTools::list();
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].installation, "system");
    EXPECT_THAT(listed[0].usedBy, ElementsAre("org.kelvane.TestApp"));
    EXPECT_FALSE(listed[0].deletable);
}

}  // namespace
}  // namespace kelvane
