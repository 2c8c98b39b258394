// The whole journey over a realistic home: launch and scan, quick clean,
// browse a category, move items to the desktop Trash, delete others for good,
// empty the "ゴミ箱" category (the desktop Trash itself) — then check every
// file on disk.
#include <sys/stat.h>

#include <QCheckBox>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <cstdio>
#include <map>
#include <set>
#include <sstream>

#include "core/fmt.h"
#include "ui/overview/biggest_card.h"
#include "ui/app/content_view.h"
#include "ui/app/detail_router.h"
#include "ui/overview/disk_card.h"
#include "ui/overview/log_card.h"
#include "ui/overview/overview_view.h"
#include "ui/overview/quick_clean_card.h"
#include "ui/overview/quick_clean_row.h"
#include "ui_fixture.h"
#include "widget_find.h"

namespace kelvane::test {
namespace {

namespace fs = std::filesystem;

// What a path is on disk, enough to tell whether it changed.
struct Item {
    bool dir;
    std::int64_t length;
    friend bool operator==(const Item&, const Item&) = default;
};

using Tree = std::map<std::string, Item>;

// Every item below `root` (links not followed), keyed by path.
Tree snapshotTree(const std::string& root) {
    Tree tree;
    for (auto it =
             fs::recursive_directory_iterator(root, fs::directory_options::skip_permission_denied);
         it != fs::recursive_directory_iterator(); ++it) {
        const fs::file_status status = it->symlink_status();
        const bool dir = fs::is_directory(status);
        const std::int64_t length =
            fs::is_regular_file(status) ? static_cast<std::int64_t>(it->file_size()) : 0;
        tree.emplace(it->path().string(), Item{dir, length});
    }
    return tree;
}

std::int64_t allocatedBelow(const std::string& root) {
    std::int64_t sum = 0;
    for (auto it =
             fs::recursive_directory_iterator(root, fs::directory_options::skip_permission_denied);
         it != fs::recursive_directory_iterator(); ++it) {
        struct stat info {};
        if (::lstat(it->path().c_str(), &info) == 0) sum += info.st_blocks * 512;
    }
    return sum;
}

// The blocks of the item itself, links not followed.
std::int64_t allocatedAt(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0 ? info.st_blocks * 512 : 0;
}

bool under(const std::string& path, const std::string& folder) {
    return path == folder || path.starts_with(folder + "/");
}

class EndToEndTest : public UiTest {
  protected:
    void SetUp() override {
        UiTest::SetUp();
        // Trashed items must land in the temporary home, never in the trash
        // of whoever runs the tests.
        if (const char* old = std::getenv("XDG_DATA_HOME")) oldDataHome_ = old;
        ::setenv("XDG_DATA_HOME", (home + "/.local/share").c_str(), 1);
    }
    void TearDown() override {
        UiTest::TearDown();
        if (oldDataHome_) {
            ::setenv("XDG_DATA_HOME", oldDataHome_->c_str(), 1);
        } else {
            ::unsetenv("XDG_DATA_HOME");
        }
    }

    // The disk as the app sees it: a 1 TB volume whose used space is what the
    // home holds, so freeing space really shows in the figures.
    void launchOverHome() {
        ModelEnvironment env;
        env.home = home;
        env.trashFiles = trashFiles();
        env.categories = Catalog::build(home, home + "/tmpbase", trashFiles());
        env.readDisk = [root = home]() -> std::optional<DiskInfo> {
            constexpr std::int64_t total = 1'000'000'000'000;
            const std::int64_t available = total - allocatedBelow(root);
            return DiskInfo{total, available, available};
        };
        app = std::make_unique<KelvaneApp>(services, env);
        app->window().resize(1180, 760);
        app->window().show();
        QApplication::processEvents();
    }

    OverviewView* overview() {
        return qobject_cast<OverviewView*>(app->window().content()->router()->current());
    }

    QMessageBox* dialog() { return app->window().content()->openDialog(); }

    // Waits for the confirmation titled `title`, presses `button` in it, then
    // waits for the work to end and returns the notice text, dismissing it.
    QString confirmAndReadNotice(const std::string& title, const QString& button) {
        if (!waitFor([&] { return dialog() != nullptr; })) return {};
        EXPECT_EQ(dialog()->text().toStdString(), title);
        QAbstractButton* press = findButton(dialog(), button);
        if (press == nullptr) {
            ADD_FAILURE() << "no button " << button.toStdString();
            return {};
        }
        press->click();
        // Items a normal user may not remove come back as an administrator
        // confirmation; the fake administrator removes them.
        if (!waitFor([&] { return dialog() != nullptr && !model().busyMessage(); })) return {};
        if (dialog()->text() == QStringLiteral("管理者権限で削除しますか？")) {
            findButton(dialog(), QStringLiteral("管理者権限で削除"))->click();
            waitFor([&] { return dialog() != nullptr && !model().busyMessage(); });
        }
        const QString notice = dialog()->informativeText();
        findButton(dialog(), QStringLiteral("OK"))->click();
        waitFor([&] { return dialog() == nullptr && runningTaskCount() == 0; });
        return notice;
    }

    void select(const std::string& id) {
        model().setSelectedID(id);
        waitFor([&] {
            return app->window().content()->router()->currentKey() ==
                       QStringLiteral("folders:") + QString::fromStdString(id) &&
                   !model().entriesLoading() && runningTaskCount() == 0;
        });
    }

    std::vector<std::string> children(const std::string& folder) {
        std::vector<std::string> result;
        for (const auto& entry : fs::directory_iterator(folder)) result.push_back(entry.path());
        return result;
    }

    std::string trashFiles() const { return home + "/.local/share/Trash/files"; }
    std::string trashInfo() const { return home + "/.local/share/Trash/info"; }

    // The original paths trash-list shows for items trashed from the home.
    std::set<std::string> trashListed() const {
        std::string listing;
        if (FILE* pipe = ::popen("trash-list 2>/dev/null", "r")) {
            char buffer[4096];
            while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) listing += buffer;
            ::pclose(pipe);
        }
        // Lines are "YYYY-MM-DD hh:mm:ss PATH"; other volumes' trashes may
        // show up too, only items from the home matter here.
        std::set<std::string> paths;
        std::istringstream lines(listing);
        for (std::string line; std::getline(lines, line);) {
            if (const auto at = line.find(" " + home + "/"); at != std::string::npos) {
                paths.insert(line.substr(at + 1));
            }
        }
        return paths;
    }

  private:
    std::optional<std::string> oldDataHome_;
};

TEST_F(EndToEndTest, ScanCleanBrowseTrashDeleteAndEmpty) {
    const fs::path script = fs::path(__FILE__).parent_path() / "../../scripts/make-demo-home.sh";
    ASSERT_TRUE(fs::exists(script)) << script;
    ASSERT_EQ(std::system(("bash '" + script.string() + "' '" + home + "' >/dev/null").c_str()), 0);
    services->adminEffect = [](const std::vector<std::string>& paths) {
        for (const std::string& p : paths) {
            std::error_code ignored;
            fs::permissions(p, fs::perms::owner_all, fs::perm_options::add, ignored);
            fs::remove_all(p, ignored);
        }
    };
    const Tree before = snapshotTree(home);

    // --- launch: the overview fills as the scans finish ---
    launchOverHome();
    ASSERT_NE(overview(), nullptr);
    waitForScans();
    ASSERT_FALSE(overview()->biggestCard()->rows().isEmpty());
    const DiskInfo diskBefore = *model().disk();
    EXPECT_EQ(overview()->diskCard()->figure("使用中"),
              QString::fromStdString(Fmt::bytes(diskBefore.total - diskBefore.available)));

    // --- quick clean, keeping the "ゴミ箱" category for later ---
    QuickCleanCard* quick = overview()->quickCleanCard();
    std::vector<std::string> cleanedRoots;
    for (QuickCleanRow* row : quick->rows()) {
        if (row->id() == "trash") {
            row->checkBox()->click();
            continue;
        }
        const CategoryState state = model().state(row->id());
        if (state.status == CategoryState::Status::done && state.bytes > 0) {
            cleanedRoots.insert(cleanedRoots.end(), state.roots.begin(), state.roots.end());
        }
    }
    ASSERT_FALSE(cleanedRoots.empty());
    const std::int64_t cachesBefore = model().state("user_caches").bytes;
    ASSERT_TRUE(quick->deleteButton()->isEnabled());
    quick->deleteButton()->click();
    const QString quickNotice =
        confirmAndReadNotice("クイッククリーンを実行しますか？", QStringLiteral("完全に削除"));
    EXPECT_TRUE(quickNotice.contains(QStringLiteral(" を解放しました。")))
        << quickNotice.toStdString();
    for (const std::string& root : cleanedRoots) {
        EXPECT_TRUE(fs::is_directory(root)) << root;  // roots stay, emptied
        EXPECT_TRUE(children(root).empty()) << root;
    }
    EXPECT_LT(model().state("user_caches").bytes, cachesBefore);
    EXPECT_TRUE(fs::exists(trashFiles() + "/old report.pdf"));
    const std::set<std::string> demoTrashed = trashListed();
    ASSERT_EQ(demoTrashed.size(), 3u);
    EXPECT_TRUE(demoTrashed.contains(home + "/Pictures/写真 2023.zip"));

    // --- browse ~/.cache; two items to the Trash, one deleted for good ---
    select("dot_cache");
    const std::string pip = home + "/.cache/pip";
    const std::string fonts = home + "/.cache/fontconfig";
    const std::string models = home + "/.cache/huggingface";
    std::set<std::string> listed;
    for (const Entry& entry : model().entries()) listed.insert(entry.path);
    ASSERT_TRUE(listed.contains(pip) && listed.contains(fonts) && listed.contains(models));
    const std::int64_t dotCacheBefore = model().state("dot_cache").bytes;

    // What the browser's "ゴミ箱へ入れる" does with the selected rows.
    model().setEntrySelection({pip, fonts});
    model().confirmDelete({pip, fonts}, false);
    const QString trashNotice =
        confirmAndReadNotice("2 項目をゴミ箱に入れますか？", QStringLiteral("ゴミ箱へ入れる"));
    EXPECT_TRUE(trashNotice.startsWith(QStringLiteral("2 項目 (約 "))) << trashNotice.toStdString();
    EXPECT_FALSE(fs::exists(pip));
    // Moved whole: every item below them is in the Trash, unchanged.
    const Tree inTrash = snapshotTree(trashFiles());
    for (const auto& [p, item] : before) {
        for (const std::string& from : {pip, fonts}) {
            if (!under(p, from)) continue;
            const std::string moved =
                trashFiles() + "/" + fs::path(from).filename().string() + p.substr(from.size());
            const auto found = inTrash.find(moved);
            ASSERT_NE(found, inTrash.end()) << moved;
            EXPECT_EQ(found->second, item) << moved;
        }
    }
    // The desktop's own tools see them where they came from, and "ゴミ箱"
    // counts them after its rescan.
    std::set<std::string> expectListed = demoTrashed;
    expectListed.insert({pip, fonts});
    EXPECT_EQ(trashListed(), expectListed);
    EXPECT_EQ(model().state("trash").bytes,
              allocatedAt(trashFiles()) + allocatedBelow(trashFiles()));

    model().confirmDelete({models}, true);
    const QString deleteNotice =
        confirmAndReadNotice("1 項目を完全に削除しますか？", QStringLiteral("完全に削除"));
    EXPECT_TRUE(deleteNotice.startsWith(QStringLiteral("1 項目を削除し、約 ")));
    EXPECT_FALSE(fs::exists(models));
    EXPECT_FALSE(fs::exists(trashFiles() + "/huggingface"));
    EXPECT_TRUE(model().entries().empty());
    EXPECT_LT(model().state("dot_cache").bytes, dotCacheBefore);

    // --- empty the "ゴミ箱" category: always for good ---
    select("trash");
    const std::int64_t trashBefore = model().state("trash").bytes;
    model().confirmCleanCategory(*model().selectedCategory(), false);
    const QString emptyNotice = confirmAndReadNotice("「ゴミ箱」の中身をすべて完全に削除しますか？",
                                                     QStringLiteral("完全に削除"));
    EXPECT_TRUE(emptyNotice.startsWith(QStringLiteral("5 項目を削除し、約 ")))
        << emptyNotice.toStdString();
    // "ゴミ箱" is the desktop Trash: emptied with its info files, so the
    // desktop's tools see an empty Trash too.
    EXPECT_TRUE(children(trashFiles()).empty());
    EXPECT_TRUE(children(trashInfo()).empty());
    EXPECT_TRUE(trashListed().empty());
    EXPECT_LT(model().state("trash").bytes, trashBefore);

    // --- back on the overview: disk figures and the log follow ---
    model().setSelectedID("__overview__");
    waitFor([&] { return overview() != nullptr; });
    const DiskInfo diskAfter = *model().disk();
    EXPECT_GT(diskAfter.available, diskBefore.available);
    EXPECT_EQ(overview()->diskCard()->figure("使用中"),
              QString::fromStdString(Fmt::bytes(diskAfter.total - diskAfter.available)));
    const QList<QLabel*>& log = overview()->logCard()->messages();
    ASSERT_GE(log.size(), 4);
    EXPECT_EQ(log[0]->text(), emptyNotice);
    EXPECT_EQ(log[1]->text(), deleteNotice);
    EXPECT_EQ(log[2]->text(), trashNotice);
    EXPECT_TRUE(quickNotice.startsWith(log[3]->text()));

    // --- the disk: what was confirmed is gone or in the Trash, the rest as it was ---
    const Tree after = snapshotTree(home);
    std::vector<std::string> deletedTargets{models};
    for (const std::string& root : cleanedRoots) {
        for (const auto& [p, item] : before) {
            if (p.size() > root.size() && under(p, root) &&
                p.find('/', root.size() + 1) == std::string::npos)
                deletedTargets.push_back(p);
        }
    }
    // Everything that was in the desktop Trash went with it, folders kept.
    for (const auto& [p, item] : before) {
        if (p.starts_with(trashFiles() + "/") || p.starts_with(trashInfo() + "/"))
            deletedTargets.push_back(p);
    }
    const auto isDeleted = [&](const std::string& p) {
        return std::any_of(deletedTargets.begin(), deletedTargets.end(),
                           [&](const std::string& t) { return under(p, t); });
    };
    for (const auto& [p, item] : before) {
        const auto now = after.find(p);
        if (under(p, pip) || under(p, fonts) || isDeleted(p)) {
            EXPECT_EQ(now, after.end()) << p;
        } else {
            ASSERT_NE(now, after.end()) << "vanished: " << p;
            EXPECT_EQ(now->second, item) << p;
        }
    }
    // Nothing new anywhere: what went to the Trash left it again.
    for (const auto& [p, item] : after) EXPECT_TRUE(before.contains(p)) << "new: " << p;
}

}  // namespace
}  // namespace kelvane::test
