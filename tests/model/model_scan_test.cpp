#include <unistd.h>

#include <cstdlib>
#include <future>
#include <iostream>
#include <map>
#include <thread>

#include "core/catalog_on_linux.h"
#include "core/linux_catalog.h"
#include "model/shown_categories.h"
#include "model_fixture.h"
#include "system/shell.h"

namespace kelvane::test {
namespace {

// Once armed, holds the next background thread that posts to the main queue
// until released: a scan's first progress report pauses its walk there.
class HoldingQueue : public ManualMainQueue {
  public:
    void post(Step step) override {
        if (std::this_thread::get_id() != main_ && armed.exchange(false)) {
            held.set_value();
            released.get_future().wait();
        }
        ManualMainQueue::post(std::move(step));
    }
    std::atomic<bool> armed{false};
    std::promise<void> held, released;

  private:
    const std::thread::id main_ = std::this_thread::get_id();
};

// Every slot taken, so that scans started now wait for the test.
std::vector<ScanLimiter::Slot> holdEverySlot(ScanLimiter& limiter) {
    std::vector<ScanLimiter::Slot> held;
    for (int i = 0; i < limiter.limit(); ++i) held.push_back(limiter.acquire());
    return held;
}

TEST_F(ModelTest, MissingFoldersFileRootsStoppedScansAndScanAll) {
    makeFile("v/f", 4096);
    makeFile("m/dir/f", 40'960);
    makeFile("m/file.bin", 100'000);
    makeFile("r1/f", 4096);
    makeFile("r1/sub/f", 4096);
    makeFile("r2/f", 8192);
    makeFile("elsewhere/f", 40'960);
    ASSERT_EQ(::symlink(path("elsewhere").c_str(), path("r1/link").c_str()), 0);
    makeModel({{folderCategory("gone", {path("nothing"), path("no/*/where")}),
                folderCategory("v", {path("v")}), folderCategory("m", {path("m/*")}),
                folderCategory("two", {path("r1"), path("r2")}),
                folderCategory("inner", {path("r1/sub")}, false),
                folderCategory("linked", {path("r1/link")}),
                folderCategory("never", {path("r2")}, false)}});
    // The first scan of "v" waits while its folder vanishes and it is
    // scanned again: that old scan's end must not show "done", not even
    // before the newer scan ends.
    int vDone = 0;
    model->subscribe(
        [&](const ModelChange&) { vDone += model->state("v").status == Status::done; });
    std::vector<ScanLimiter::Slot> held = holdEverySlot(model->limiter());
    for (const CleanCategory& category : model->categories())
        if (category.id != "never") model->scan(category);
    std::filesystem::remove_all(path("v"));
    model->scan(model->categories()[1]);
    held.clear();
    settle();
    for (const std::string id : {"gone", "v"}) {
        EXPECT_EQ(model->state(id).status, Status::missing) << id;
        EXPECT_EQ(model->state(id).bytes, 0) << id;
    }
    EXPECT_EQ(vDone, 0);
    EXPECT_TRUE(model->scanTasks().empty());
    // A root that is a file counts nothing, at the finish and after.
    EXPECT_EQ(model->state("m").roots,
              (std::vector<std::string>{path("m/dir"), path("m/file.bin")}));
    EXPECT_EQ(model->state("m").bytes, fresh(path("m/dir")));
    const std::int64_t full = model->state("two").bytes;

    // Stopped before its first root: nothing was removed, the earlier sizes
    // stand. An inner root the stopped walk had cleared is measured again.
    held = holdEverySlot(model->limiter());
    model->scan(model->categories()[3]);
    model->scanTasks().at("two").cancel();
    model->store().removeSubtree(path("r1/sub"));
    held.clear();
    settle();
    EXPECT_EQ(model->state("two").status, Status::done);
    EXPECT_EQ(model->state("two").bytes, full);
    EXPECT_EQ(model->state("two").files, 0);
    EXPECT_EQ(model->store().size(path("r1/sub")), fresh(path("r1/sub")));
    EXPECT_EQ(model->state("inner").bytes, fresh(path("r1/sub")));
    // A root below a link is one the enclosing walk never records.
    model->scan(model->categories()[3]);
    settle();
    model->refreshCategorySizes();
    EXPECT_EQ(model->state("linked").bytes, fresh(path("r1/link")));
    EXPECT_EQ(model->state("m").bytes, fresh(path("m/dir")));

    // Scanning all rescans what is measured, also when not scanned at launch,
    // and re-reads the disk at once, not after the scans.
    makeFile("r1/sub/g", 50'000);
    const int readsBefore = diskReads;
    model->scanAll();
    EXPECT_EQ(diskReads, readsBefore + 1);
    EXPECT_EQ(model->state("two").status, Status::scanning);
    EXPECT_EQ(model->state("inner").status, Status::scanning);
    EXPECT_EQ(model->state("never").status, Status::idle);
    settle();
    EXPECT_EQ(model->state("inner").files, 2);
}

TEST_F(ModelTest, NestedTotalsSurviveADeletionDuringAnEnclosingScan) {
    // w ⊃ a ⊃ b; the walk of a pauses inside b/junk, after taking w/a and
    // b out of the store and listing junk, and junk is deleted meanwhile.
    const auto holding = std::make_shared<HoldingQueue>();
    queue = holding;
    makeFile("w/other", 20'000);
    makeFile("w/a/b/keep", 30'000);
    makeFile("w/a/b/junk/blob", 500'000);
    for (int i = 0; i < 4100; ++i) std::ofstream(path("w/a/b/junk/f" + std::to_string(i)));
    makeModel({{folderCategory("w", {path("w")}), folderCategory("a", {path("w/a")}),
                folderCategory("b", {path("w/a/b")})}});
    model->scan(model->categories()[0]);
    settle();
    model->scan(model->categories()[2]);
    settle();
    holding->armed = true;
    model->scan(model->categories()[1]);
    holding->held.get_future().wait();
    model->confirmDelete({path("w/a/b/junk")}, true);
    confirm();
    EXPECT_TRUE(queue->drainUntil([&] { return !model->busyMessage(); }));
    holding->released.set_value();
    settle();
    for (const CleanCategory& category : model->categories()) {
        EXPECT_EQ(model->state(category.id).status, Status::done) << category.id;
        EXPECT_EQ(model->state(category.id).bytes, fresh(category.patterns[0])) << category.id;
    }
}

// The launch over the Linux demo home that scripts/make-demo-home.sh --linux
// builds, with the rows as Linux lists them over that home and a system root
// of the test's own: the other platform's rows are left out unless their
// folders are there, and every category is measured to exactly what a walk
// of its roots finds. Many roots nest (~/.cache holds the thumbnails, /var/log
// the journal) and are walked at the same time, four at most.
TEST_F(ModelTest, LaunchOverTheDemoHome) {
    const std::filesystem::path source = std::filesystem::path(__FILE__).parent_path() / "../..";
    const std::string script = (source / "scripts/make-demo-home.sh").string();
    if (::access(script.c_str(), X_OK) != 0) GTEST_SKIP() << "no " << script;
    const std::string demo = path("demo");
    ASSERT_EQ(
        std::system(
            (Shell::quoted(script) + " --linux " + Shell::quoted(demo) + " >/dev/null").c_str()),
        0);
    // A Debian-shaped system root: no Docker, no Snap.
    for (const char* file :
         {"var/log/syslog.2.gz", "var/log/apt/history.log", "var/log/journal/0a1b/system.journal",
          "var/tmp/session.tmp", "var/cache/apt/archives/zsh_5.9-4_amd64.deb",
          "var/crash/app.crash", "var/lib/flatpak/repo/objects/ab/cd.file", "tmp/.X0-lock"}) {
        makeFile(std::string("sys/") + file, 50'000);
    }
    auto categories =
        CatalogOnLinux::adapt(Catalog::build(demo, path("tmpbase")),
                              {demo, path("sys"), path("sys/tmp"), demo + "/.local/share"});
    for (CleanCategory& row : LinuxCatalog::build(demo, path("sys"))) {
        categories.push_back(std::move(row));
    }
    makeModel(ShownCategories::onThisMachine(categories));
    // Of the other platform's rows only Homebrew, whose Linux cache is there.
    std::vector<std::string> foreign;
    for (const CleanCategory& c : model->categories())
        if (CatalogOnLinux::onlyWhenPresent(c)) foreign.push_back(c.id);
    EXPECT_EQ(foreign, std::vector<std::string>{"homebrew"});
    std::size_t mostAtOnce = 0;
    model->subscribe([&](const ModelChange&) {
        mostAtOnce = std::max<std::size_t>(mostAtOnce, model->limiter().active());
    });
    model->startInitialScan();
    settle();
    EXPECT_LE(mostAtOnce, 4u);
    for (const CleanCategory& category : model->categories()) {
        const CategoryState s = model->state(category.id);
        if (!category.scanOnLaunch || category.kind != CategoryKind::folders) {
            EXPECT_EQ(s.status, Status::idle) << category.id;
            continue;
        }
        // Everything the catalog looks for in a home is in the demo home.
        const bool inHome = category.patterns.front().starts_with(demo + "/");
        EXPECT_EQ(s.status, inHome || !s.roots.empty() ? Status::done : Status::missing)
            << category.id;
        ScanStats expected;
        for (const std::string& root : s.roots) {
            SizeStore store;
            const ScanStats one = Scanner::scan(root, store);
            if (one.dirs > 0) expected.bytes += one.bytes;  // a file root counts nothing
        }
        EXPECT_EQ(s.bytes, expected.bytes) << category.id;
    }
    // Each Linux row finds exactly the places of its kind, in home and system.
    const std::map<std::string, std::vector<std::string>> linuxRoots = {
        {"linux_thumbnails", {"demo/.cache/thumbnails"}},
        {"linux_browser_caches",
         {"demo/.cache/chromium", "demo/.cache/google-chrome", "demo/.cache/mozilla"}},
        {"linux_flatpak_app_caches",
         {"demo/.var/app/org.gimp.GIMP/cache", "demo/.var/app/org.mozilla.firefox/cache"}},
        {"linux_package_caches", {"sys/var/cache/apt/archives"}},
        {"linux_var_tmp", {"sys/var/tmp"}},
        {"system_logs", {"sys/var/log"}},
        {"system_caches", {"sys/var/cache"}},
        {"temp", {"sys/tmp"}},
        {"homebrew", {"demo/.cache/Homebrew"}},
        {"node_caches", {"demo/.npm/_cacache", "demo/.yarn/cache", "demo/.local/share/pnpm/store"}},
        {"android", {"demo/.android/avd", "demo/Android/Sdk"}},
        {"linux_journal", {"sys/var/log/journal"}},
        {"linux_crash", {"sys/var/crash"}},
        {"linux_python",
         {"demo/.cache/pip", "demo/.cache/pypoetry", "demo/.cache/uv", "demo/miniconda3/pkgs"}},
        {"linux_ide",
         {"demo/.cache/JetBrains", "demo/.config/Code/Cache", "demo/.config/Code/CachedData",
          "demo/.config/Code/CachedExtensionVSIXs"}},
        {"linux_toolchains", {"demo/.nvm/versions", "demo/.rustup/toolchains"}},
        {"linux_containers", {"demo/.local/share/containers"}},
        {"linux_flatpak", {"demo/.local/share/flatpak", "sys/var/lib/flatpak"}},
        {"linux_snap", {}}};
    for (const auto& [id, relative] : linuxRoots) {
        std::vector<std::string> roots = model->state(id).roots, expected;
        for (const std::string& r : relative) expected.push_back(path(r));
        std::sort(roots.begin(), roots.end());
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(roots, expected) << id;
    }
    // A thumbnail deleted: the thumbnails and the ~/.cache around them both
    // drop to what is left.
    const std::int64_t before = model->state("linux_thumbnails").bytes;
    model->confirmDelete({path("demo/.cache/thumbnails/large/f_00000")}, true);
    confirmAndSettle();
    for (const char* id : {"linux_thumbnails", "dot_cache"}) {
        EXPECT_EQ(model->state(id).bytes, fresh(model->state(id).roots.front())) << id;
    }
    EXPECT_LT(model->state("linux_thumbnails").bytes, before);
}

// The Linux places measured on this very machine, as the launch scan does
// it, against du: the figures a user compares Kelvane with.
TEST(LinuxPlaces, TheLaunchScanMeasuresSystemFoldersAsDuDoes) {
    const std::map<std::string, std::string> folders = {
        {"system_logs", "/var/log"},
        {"linux_package_caches", "/var/cache/apt/archives"},
        {"linux_var_tmp", "/var/tmp"}};
    // Several rounds: a log written between our walk and du's is not a fault.
    std::map<std::string, std::string> mismatch, figures;
    for (int round = 0; round < 3; ++round) {
        mismatch.clear();
        const auto queue = std::make_shared<ManualMainQueue>();
        const std::string home = "/nonexistent-home";
        auto rows = CatalogOnLinux::adapt(Catalog::build(home, "/t"),
                                          {home, "", "/nonexistent-tmp", home + "/.local/share"});
        for (CleanCategory& row : LinuxCatalog::build(home, "")) rows.push_back(std::move(row));
        ModelEnvironment env;
        env.home = home;
        env.trashFiles = home + "/Trash/files";
        env.categories = ShownCategories::onThisMachine(rows);
        env.readDisk = [] { return std::optional<DiskInfo>(); };
        const auto model = AppModel::create(queue, std::make_shared<SystemServices>(), env);
        model->startInitialScan();
        ASSERT_TRUE(
            queue->drainUntil([] { return runningTaskCount() == 0; }, std::chrono::minutes(5)));
        queue->drain();
        for (const auto& [id, folder] : folders) {
            if (!exists(folder)) continue;  // not on this system
            const CategoryState state = model->state(id);
            const ShellResult du = Shell::run("/usr/bin/du", {"-sB1", "--one-file-system", folder});
            // Run by an ordinary user, du says it could not read some folders (status 1)
            // and still totals the rest, as the scan does.
            ASSERT_TRUE(du.status == 0 || (du.status == 1 && !du.out.empty()))
                << folder << ": " << du.err;
            const std::int64_t reference = std::stoll(du.out);
            figures[folder] = std::to_string(state.bytes) + " vs du " + std::to_string(reference);
            if (state.status != Status::done || state.bytes != reference)
                mismatch[folder] = figures[folder];
        }
        if (mismatch.empty()) break;
    }
    for (const auto& [folder, why] : mismatch) ADD_FAILURE() << folder << ": " << why;
    // Printed either way, so the CI log shows both sides.
    for (const auto& [folder, both] : figures) std::cout << folder << ": " << both << "\n";
}

}  // namespace
}  // namespace kelvane::test
