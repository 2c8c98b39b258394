#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <regex>

#include "core/fmt.h"
#include "core/path_text.h"
#include "model_fixture.h"
#include "support/run_as_test_user.h"

namespace kelvane::test {
namespace {

const std::string kIrreversible = "\n\nこの操作は取り消せません。";

using DeleteTest = ModelTest;

TEST_F(DeleteTest, ConfirmationsTrashedItemsEmptyingAndTheBrowserAfterDeletions) {
    makeFile("c/sub/deep/inner", 40'000);
    for (int i = 1; i <= 6; ++i) makeFile("c/f" + std::to_string(i), 1000 * i);
    makeTrashed("old.txt", 5000);
    makeTrashed("dir/x", 5000);
    makeTrashed("stay", 100);
    makeFile(".local/share/Trash/files-old/x", 100);
    makeFile("danger/one", 1000);
    makeFile("danger2/sub/two", 1000);
    makeFolder("empty");
    makeFile("never/x", 100);
    CleanCategory danger = folderCategory("danger", {path("danger"), path("danger2")});
    danger.risk = Risk::danger;
    std::vector<CleanCategory> categories = catalogRows({"trash"});
    categories.insert(categories.end(), {folderCategory("c", {path("c")}), danger,
                                         folderCategory("empty", {path("empty")}),
                                         folderCategory("never", {path("never")})});
    makeModel(categories);
    for (std::size_t i = 0; i < 4; ++i) model->scan(model->categories()[i]);  // not "never"
    settle();

    // A measured folder counts with its recorded size, a file with its own
    // blocks, a path that is gone with nothing.
    std::vector<std::string> c8{path("c/sub")};
    for (int i = 1; i <= 6; ++i) c8.push_back(path("c/f" + std::to_string(i)));
    c8.push_back(path("c/none"));
    const auto total = [&](std::size_t n) {
        std::int64_t sum = stored("c/sub");
        for (std::size_t i = 1; i < std::min<std::size_t>(n, 7); ++i) sum += allocated(c8[i]);
        return "合計 " + Fmt::bytes(sum) + "\n\nsub\nf1\nf2\nf3\nf4";
    };
    const auto about = [&](const std::string& id) {
        return " 項目 / 約 " + Fmt::bytes(model->state(id).bytes);
    };
    const std::vector<std::string> trashed{trashFiles() + "/old.txt", trashFiles() + "/dir"};
    const std::vector<std::string> c5(c8.begin(), c8.begin() + 5), mixed{trashed[0], c8[1]};
    struct Row {
        std::function<void()> ask;
        std::string title;
        std::string message;  // all of it, or (when `start`) how it begins
        bool permanent;
        bool start = false;
    };
    const std::vector<Row> rows{
        {[&] { model->confirmDelete(c8, true); }, "8 項目を完全に削除しますか？",
         total(8) + "\n…ほか 3 項目" + kIrreversible, true},
        {[&] { model->confirmDelete(c5, false); }, "5 項目をゴミ箱に入れますか？", total(5), false},
        // Items already in the Trash can only be deleted for good; one item
        // outside it, or in a look-alike folder, puts the batch in the Trash.
        {[&] { model->confirmDelete(trashed, false); }, "2 項目を完全に削除しますか？", "合計 ",
         true, true},
        {[&] { model->confirmDelete(mixed, false); }, "2 項目をゴミ箱に入れますか？", "合計 ",
         false, true},
        {[&] { model->confirmDelete({path(".local/share/Trash/files-old/x")}, false); },
         "1 項目をゴミ箱に入れますか？", "合計 ", false, true},
        // The category's size, then the text of its risk (of "danger" here).
        {[&] { model->confirmCleanCategory(model->categories()[1], false); },
         "「c」の中身をすべてゴミ箱に入れますか？", "7" + about("c"), false, true},
        {[&] { model->confirmCleanCategory(danger, false); },
         "「danger」の中身をすべてゴミ箱に入れますか？",
         "2" + about("danger") + "\n\n削除するとデータを失う可能性があります。", false, true},
        // The Trash is always emptied for good.
        {[&] { model->confirmCleanCategory(model->categories()[0], false); },
         "「ゴミ箱」の中身をすべて完全に削除しますか？", "3" + about("trash"), true, true},
        // In list order, unknown ids ignored, only measured categories counted.
        {[&] {
             model->confirmQuickClean({"danger", "nope", "never"});
         },
         "クイッククリーンを実行しますか？",
         "対象: danger, never\n2" + about("danger") + " を完全に削除します。", true, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title);
        model->setPendingAction(std::nullopt);
        row.ask();
        ASSERT_TRUE(model->pendingAction());
        const std::string& message = model->pendingAction()->message;
        EXPECT_EQ(model->pendingAction()->title, row.title);
        EXPECT_EQ(row.start ? message.substr(0, row.message.size()) : message, row.message);
        EXPECT_EQ(model->pendingAction()->destructiveLabel,
                  row.permanent ? "完全に削除" : "ゴミ箱へ入れる");
    }

    model->setPendingAction(std::nullopt);
    model->confirmDelete({}, true);
    EXPECT_FALSE(model->notice());
    model->confirmCleanCategory(model->categories()[3], false);
    EXPECT_EQ(model->notice(), "削除する項目がありません");
    model->setNotice(std::nullopt);
    model->confirmQuickClean({"never"});
    EXPECT_EQ(model->notice(), "削除する項目がありません");
    EXPECT_FALSE(model->pendingAction());
    // A model told of no trash folder never takes every path for trashed.
    ModelEnvironment bare;
    bare.home = home;
    const auto other = AppModel::create(queue, services, bare);
    other->confirmDelete({c8[1]}, false);
    EXPECT_EQ(other->pendingAction()->title, "1 項目をゴミ箱に入れますか？");

    // Items in the Trash go for good, with their info files.
    model->confirmDelete(trashed, false);
    confirmAndSettle();
    EXPECT_TRUE(model->notice()->starts_with("2 項目を削除し、約 "));
    // Quick clean empties every root for good: nothing reaches the Trash.
    model->confirmQuickClean({"danger"});
    confirmAndSettle();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(trashFiles()), {}), 1);
    EXPECT_TRUE(exists(path("danger")) && exists(path("danger2")) && exists(path("c/f1")));
    EXPECT_FALSE(exists(path("danger/one")) || exists(path("danger2/sub")));
    EXPECT_EQ(model->state("danger").bytes, fresh(path("danger")) + fresh(path("danger2")));
    // Emptied in place: the folder stays, its items and their info files go.
    model->confirmCleanCategory(model->categories()[0], false);
    confirmAndSettle();
    EXPECT_TRUE(std::filesystem::is_empty(trashFiles()));
    EXPECT_EQ(model->state("trash").bytes, fresh(trashFiles()));

    // The browser steps out of a deleted folder, but never leaves the only
    // root of a category, even when it is gone.
    model->setSelectedID("c");
    model->setBrowserPath(path("c/sub/deep"));
    model->confirmDelete({path("c/sub")}, true);
    confirmAndSettle();
    EXPECT_EQ(model->browserPath(), path("c"));
    EXPECT_EQ(model->entries().size(), 6u);  // f1 to f6
    model->confirmDelete({path("c")}, true);
    confirmAndSettle();
    EXPECT_EQ(model->browserPath(), path("c"));
    // A vanished root among several gives way to its parent folder.
    makeFolder("danger/x");
    model->setSelectedID("danger");
    model->setBrowserPath(path("danger/x"));
    model->confirmDelete({path("danger")}, false);
    confirmAndSettle();
    EXPECT_EQ(model->browserPath(), home);
}

TEST_F(DeleteTest, OverlappingDeletionsReportRescanAndLowerEveryFolderAbove) {
    const std::string odd = "\xff\xfe.bin";  // not UTF-8: deleted by its listed path
    const std::string cafe = "caf\xe9";
    const auto item = [&](const std::string& name) { return path("Library/Caches/" + name); };
    makeFile("Library/Caches/app/blob", 200'000);
    makeFile("Library/Caches/app/sub/more", 30'000);
    makeFile("Library/Caches/app/sub/z/deeper", 70'000);
    makeFile("Library/Caches/" + odd, 12'345);
    makeFile("Library/Caches/" + cafe, 5000);
    makeFile("Library/Caches/keep", 4096);
    makeFile("target/inside", 50'000);
    for (const std::string link : {"link", "link2"})
        ASSERT_EQ(::symlink(path("target").c_str(), item(link).c_str()), 0);
    makeTrashed("earlier", 4096);
    makeModel(catalogRows({"user_caches", "trash"}));
    scanEach();
    open("user_caches");
    settle();
    std::set<std::string> listed;
    for (const Entry& e : model->entries()) listed.insert(e.path);
    ASSERT_TRUE(listed.count(item(odd)) && listed.count(item(cafe)));

    // Confirmed back to back, the three run at once.
    const std::int64_t moved = allocated(item(odd)) + allocated(item("link"));
    const std::int64_t freed = stored("Library/Caches/app/sub") + allocated(item(cafe));
    model->confirmDelete({item(odd), item("link")}, false);
    confirm();
    model->confirmDelete({item("app/sub"), item(cafe)}, true);
    confirm();
    model->confirmDelete({item("link2")}, true);
    confirm();
    settle();
    std::set<std::string> logged;
    for (const LogEntry& entry : model->log()) logged.insert(entry.message);
    EXPECT_TRUE(
        logged.count("2 項目 (約 " + Fmt::bytes(moved) +
                     ") をゴミ箱に入れました。容量を解放するにはゴミ箱を空にしてください。"));
    EXPECT_TRUE(logged.count("2 項目を削除し、約 " + Fmt::bytes(freed) + " を解放しました。"));
    EXPECT_EQ(model->notice(), model->log().back().message);
    EXPECT_EQ(model->busyMessage(), std::nullopt);
    EXPECT_TRUE(exists(trashFiles() + "/" + odd) && exists(path("target/inside")));
    // The store, the caches and the rescanned Trash all match the disk.
    for (const std::string folder : {"Library/Caches", "Library/Caches/app"})
        EXPECT_EQ(stored(folder), fresh(path(folder))) << folder;
    EXPECT_FALSE(model->store().size(item("app/sub/z")));
    EXPECT_EQ(model->state("user_caches").bytes, fresh(path("Library/Caches")));
    EXPECT_EQ(model->state("trash").bytes, fresh(trashFiles()));
    EXPECT_EQ(model->entries().size(), 2u);  // "app" and "keep"
}

TEST_F(DeleteTest, ProtectedAndFailedItemsAreReportedAndPartlyDeletedFoldersRemeasured) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can set the immutable flag";
    makeFile("c/part/big", 400'000);
    makeFile("c/part/pinned", 5000);
    makeFile("c/pinned.db", 5000);
    makeFile("c/ok", 7000);
    makeFile("c/vanishing", 7000);
    makeModel({{folderCategory("c", {path("c")})}});
    scanEach();
    const Immutable inFolder(path("c/part/pinned"));
    const Immutable alone(path("c/pinned.db"));
    if (inFolder.error() != 0)
        GTEST_SKIP() << "no immutable flag here: " << std::strerror(inFolder.error());
    const std::int64_t ok = allocated(path("c/ok"));
    const std::int64_t vanishing = allocated(path("c/vanishing"));

    // Only what still exists stays selected, also of items someone else
    // removes meanwhile. Four items that vanished before their turn stand
    // for failures of any other kind; three of them are named.
    model->setEntrySelection(
        {path("c/part"), path("c/pinned.db"), path("c/ok"), path("c/vanishing")});
    model->confirmDelete({path("c/part"), path("c/gone1"), path("c/pinned.db"), path("c/gone2"),
                          path("c/ok"), path("c/gone3"), path("c/gone4")},
                         true);
    confirm();
    std::filesystem::remove(path("c/vanishing"));
    settle();
    EXPECT_EQ(model->entrySelection(),
              (std::set<std::string>{path("c/part"), path("c/pinned.db")}));
    // The folder lost its big file; what is left is measured again. (The
    // file removed behind the model's back is still counted.)
    EXPECT_TRUE(exists(path("c/part/pinned")));
    EXPECT_EQ(model->store().size(path("c/part")), fresh(path("c/part")));
    EXPECT_EQ(model->store().size(path("c")), fresh(path("c")) + vanishing);
    EXPECT_EQ(model->state("c").bytes, fresh(path("c")) + vanishing);

    const std::string gone = ": " + FileError::fromErrno(ENOENT).description;
    EXPECT_EQ(model->notice(),
              "1 項目を削除し、約 " + Fmt::bytes(ok) +
                  " を解放しました。\n\n2 項目は変更不可 (immutable) または追記のみ (append-only) "
                  "の属性が付いているためスキップしました。\n\n4 項目は削除できませんでした "
                  "(使用中の可能性)。\n・gone1" +
                  gone + "\n・gone2" + gone + "\n・gone3" + gone);
    ASSERT_EQ(model->log().size(), 3u);
    EXPECT_EQ(model->log()[1].message, "2 項目は変更不可・追記のみの属性のためスキップ");
    EXPECT_EQ(model->log()[2].message, "4 項目の削除に失敗");
    EXPECT_TRUE(model->log()[2].isError && !model->log()[1].isError);
    EXPECT_FALSE(model->pendingAction());
}

// As kelvane-test. First a batch where one item moves to the Trash, one is
// immutable (protected, not denied), one is gone, and six lie in a folder the
// user may not write, among them a link to a folder, which must not be
// measured in its target's place: the report ends in the offer to retry as
// administrator, naming the first five. Then three such items are offered to
// the administrator, whose run ends in each of the ways it can.
TEST_F(DeleteTest, DeniedItemsGoToTheAdministratorWhoseRunEndsInEachWay) {
    const auto shared = testUserFolder();
    if (!shared) {
        if (!canRunAsTestUser()) GTEST_SKIP() << "needs root, runuser and the kelvane-test account";
        const TempTree tree;
        // A folder anyone may write, so only the flag keeps the item in place.
        ASSERT_EQ(::mkdir((tree.path() + "/open").c_str(), 0777), 0);
        ASSERT_EQ(::chmod((tree.path() + "/open").c_str(), 0777), 0);
        std::ofstream(tree.path() + "/open/pinned") << "root's";
        const Immutable pinned(tree.path() + "/open/pinned");
        if (pinned.error() != 0) GTEST_SKIP() << "no immutable flag: " << pinned.error();
        EXPECT_EQ(rerunAsTestUser(tree.path()), 0) << "the checks run as kelvane-test failed";
        return;
    }
    const std::string pinned = *shared + "/open/pinned";
    makeFile("c/plain", 9000);
    makeFile("big/sub/blob", 300'000);
    std::vector<std::string> denied{path("c/locked/link")};
    makeFolder("c/locked");
    ASSERT_EQ(::symlink(path("big").c_str(), denied[0].c_str()), 0);
    for (int i = 1; i <= 5; ++i) {
        makeFile("c/locked/d" + std::to_string(i), 100);
        denied.push_back(path("c/locked/d" + std::to_string(i)));
    }
    ASSERT_EQ(::chmod(path("c/locked").c_str(), 0555), 0);
    makeModel({{folderCategory("c", {path("c")})}});
    scanEach();
    const std::int64_t c = model->store().size(path("c")).value();
    std::vector<std::string> paths{path("c/plain"), pinned, path("c/gone")};
    paths.insert(paths.end(), denied.begin(), denied.end());
    model->confirmDelete(paths, false);
    confirmAndSettle();
    EXPECT_FALSE(model->store().size(denied[0]));  // the link failed as a link
    EXPECT_EQ(model->store().size(path("c")), c - allocated(trashFiles() + "/plain"));
    ASSERT_EQ(model->log().size(), 3u);
    EXPECT_EQ(model->log()[1].message, "1 項目は変更不可・追記のみの属性のためスキップ");
    EXPECT_EQ(model->notice(), std::nullopt);
    ASSERT_TRUE(model->pendingAction());
    EXPECT_EQ(model->pendingAction()->message,
              "6 項目はアクセス権が無いため削除できませんでした。管理者パスワードを入力して"
              "完全に削除できます (rm -rf)。\n\n~/c/locked/link\n~/c/locked/d1\n"
              "~/c/locked/d2\n~/c/locked/d3\n~/c/locked/d4");

    struct Row {
        ShellResult run;  // status -1: pkexec is missing
        // What the run says of each item: deleted, immutable, busy, not reported.
        std::string verdicts;
        std::string notice;
        std::string log;  // empty: nothing logged
        bool refreshed;   // disk re-read, totals recomputed
    };
    // pkexec's own English, then 400 "é" written as e + combining accent and
    // 400 flags (two code points each), cut at 600 user-perceived characters:
    // 22 for the failure lines, 4 for the lead-in, 56 + 400 + 1 before the
    // flags leave 117 of them.
    const std::string english = "Error executing command as another user: Not authorized";
    std::string accents, flags;
    for (int i = 0; i < 400; ++i) accents += "e\xcc\x81";
    for (int i = 0; i < 400; ++i) flags += "\xf0\x9f\x87\xaf\xf0\x9f\x87\xb5";
    const std::vector<Row> rows{
        {{0, "", ""}, "ddd", "3 項目を削除しました。", "管理者権限で 3 項目を削除", true},
        {{126, "", "-128"}, "nnn", "キャンセルしました。", "", false},
        {{-1, "", ""},
         "nnn",
         "管理者権限で削除するには pkexec が必要です。pkexec をインストールしてから、もう一度お"
         "試しください。",
         "pkexec が無いため管理者権限で削除できませんでした",
         false},
        {{1, "", ""},
         "dii",
         "2 項目は変更不可 (immutable) または追記のみ (append-only) の属性が付いているため管理"
         "者権限でも削除できません (これは正常です)。他の項目は削除しました。",
         "管理者削除で 2 項目が保護のため削除不可",
         true},
        {{1, "", english + "\n" + accents + "\n" + flags + "\n\t "},
         "dbb",
         "削除に失敗しました:\n・d2: 使用中です\n・d3: 使用中です\n詳細:\n" + english + "\n" +
             accents + "\n" + flags.substr(0, 117 * 8),
         "管理者削除で 0 項目が保護のため削除不可",
         true},
    };

    for (std::size_t n = 0; n < rows.size(); ++n) {
        const Row& row = rows[n];
        SCOPED_TRACE(n);
        const std::string base = "row" + std::to_string(n);
        std::vector<std::string> items;
        for (int i = 1; i <= 3; ++i) {
            const std::string name = base + "/locked/d" + std::to_string(i);
            makeFile(name + "/f", 8192 * static_cast<std::size_t>(i));
            ASSERT_EQ(::chmod(path(name).c_str(), 0555), 0);
            items.push_back(path(name));
        }
        ASSERT_EQ(::chmod(path(base + "/locked").c_str(), 0555), 0);
        if (model) settle();
        makeModel({{folderCategory("c", {path(base)})}});
        scanEach();
        model->setEntrySelection({items.begin(), items.end()});
        model->confirmDelete(items, true);
        confirmAndSettle();
        const std::int64_t before = model->store().size(path(base)).value();

        AdminDeleteResult answer{row.run, {}, row.run.status == -1};
        std::set<std::string> left;
        std::int64_t freed = 0;
        for (std::size_t i = 0; i < items.size(); ++i) {
            const char verdict = row.verdicts[i];
            if (verdict == 'd') {
                answer.outcome.deleted.push_back({items[i], 0});
                freed += model->store().size(items[i]).value();
                continue;
            }
            answer.outcome.failures.push_back(
                {items[i], verdict == 'i'   ? FileError::refusal(FileError::immutable, EPERM)
                           : verdict == 'b' ? FileError::fromErrno(EBUSY)
                                            : FileError::refusal(FileError::notReported)});
            left.insert(items[i]);
        }
        services->adminResult = answer;
        services->adminCalls.clear();
        const std::size_t logged = model->log().size();
        const int reads = diskReads;
        confirmAndSettle();

        EXPECT_EQ(services->adminCalls, std::vector<std::vector<std::string>>{items});
        EXPECT_EQ(model->notice(), row.notice);
        expectOurWordsOnly(model->notice().value_or(""));
        EXPECT_EQ(model->log().size(), logged + (row.log.empty() ? 0 : 1));
        EXPECT_EQ(row.log.empty() ? row.log : model->log().back().message, row.log);
        EXPECT_EQ(diskReads > reads, row.refreshed);
        // The store and the category lose exactly the deleted items, also
        // when others failed.
        EXPECT_EQ(model->store().size(path(base)), before - freed);
        EXPECT_EQ(model->state("c").bytes, before - freed);
        for (const std::string& item : items)
            EXPECT_EQ(model->store().size(item).has_value(), left.contains(item)) << item;
        EXPECT_EQ(model->entrySelection(), left);
    }
}

// "/", the home folder and the folders above it are never offered: the
// confirmation leaves them out and says why, or, with nothing left, a notice
// does. Their contents are offered and deleted as ever.
TEST_F(DeleteTest, ProtectedFoldersAreLeftOutOfEveryConfirmationWhichSaysWhy) {
    makeFile("inner/home/.cache/blob", 5000);
    makeFile("inner/other/file", 5000);
    ModelEnvironment env;
    env.home = path("inner/home");
    env.trashFiles = trashFiles();
    env.categories = {folderCategory("up", {path("inner")})};
    model = AppModel::create(queue, services, env);
    scanEach();
    const std::string why =
        "ルート、ホームフォルダとその上のフォルダ、システムのフォルダは削除できません。中の項目は"
        "個別に削除できます。";
    for (const bool permanent : {true, false}) {
        for (const std::string& alone : {std::string("/"), path("inner"), path("inner/home")}) {
            model->setNotice(std::nullopt);
            model->confirmDelete({alone}, permanent);
            EXPECT_FALSE(model->pendingAction()) << alone;
            EXPECT_EQ(model->notice(), "削除できない項目です。" + why + "\n\n" +
                                           PathText::shortForm(alone, env.home));
        }
    }
    model->confirmDelete({path("inner/home"), path("inner/home/.cache")}, true);
    ASSERT_TRUE(model->pendingAction());
    EXPECT_EQ(model->pendingAction()->title, "1 項目を完全に削除しますか？");
    EXPECT_TRUE(model->pendingAction()->message.ends_with("\n\n次の 1 項目は対象から外しました。" +
                                                          why + "\n~"));
    // Emptying a folder above the home folder leaves the home folder in it.
    model->confirmCleanCategory(model->categories()[0], true);
    ASSERT_TRUE(model->pendingAction());
    EXPECT_TRUE(model->pendingAction()->message.starts_with("1 項目 / 約 "));
    confirmAndSettle();
    EXPECT_TRUE(exists(path("inner/home/.cache/blob")));
    EXPECT_FALSE(exists(path("inner/other")));
    EXPECT_EQ(model->state("up").bytes, fresh(path("inner")));
}

// As kelvane-test: a 5 MB file and a folder of root's in a shared sticky
// folder cannot be deleted with the user's rights; the administrator run
// (the real helper, made setuid root here in place of pkexec) removes both,
// and the totals then are those of a fresh walk, the file included.
TEST_F(DeleteTest, WhatTheAdministratorDeletedLeavesTheTotalsOfAFreshWalk) {
    const auto shared = testUserFolder();
    if (!shared) {
        if (!canRunAsTestUser()) GTEST_SKIP() << "needs root, runuser and the kelvane-test account";
        const TempTree tree;
        struct statvfs volume {};
        ASSERT_EQ(::statvfs(tree.path().c_str(), &volume), 0);
        if ((volume.f_flag & ST_NOSUID) != 0) GTEST_SKIP() << "the temporary folder is nosuid";
        const std::string open = tree.path() + "/open";
        ASSERT_EQ(::mkdir(open.c_str(), 0777), 0);
        ASSERT_EQ(::chmod(open.c_str(), 0777), 0);
        ASSERT_EQ(::mkdir((open + "/sticky").c_str(), 01777), 0);
        ASSERT_EQ(::chmod((open + "/sticky").c_str(), 01777), 0);
        writeFileOfSize(open + "/sticky/big.bin", 5'000'000);
        writeFileOfSize(open + "/sticky/dir/f", 300'000);
        writeFileOfSize(open + "/keep", 7'000);
        const std::string helper = tree.path() + "/kelvane-admin";
        std::filesystem::copy_file(KELVANE_TEST_ADMIN_HELPER, helper);
        ASSERT_EQ(::chmod(helper.c_str(), 04755), 0);
        EXPECT_EQ(rerunAsTestUser(tree.path()), 0) << "the checks run as kelvane-test failed";
        EXPECT_FALSE(exists(open + "/sticky/big.bin") || exists(open + "/sticky/dir"));
        return;
    }
    const std::string open = *shared + "/open";
    makeModel({{folderCategory("c", {open})}});
    services->realHelper = *shared + "/kelvane-admin";
    scanEach();
    model->confirmDelete({open + "/sticky/big.bin", open + "/sticky/dir"}, true);
    confirmAndSettle();
    ASSERT_TRUE(model->pendingAction());
    EXPECT_EQ(model->pendingAction()->title, "管理者権限で削除しますか？");
    confirmAndSettle();
    EXPECT_EQ(model->notice(), "2 項目を削除しました。");
    EXPECT_EQ(model->store().size(open), fresh(open));
    EXPECT_EQ(model->state("c").bytes, fresh(open));
}

// 200,000 files, one in 40 holding a block of data, and a second selected
// folder: the busy overlay's counts grow while the worker deletes, "停止"
// ends the work before the next file, and the totals then equal a fresh
// walk of what is left.
TEST_F(DeleteTest, ALongDeletionCountsAsItGoesAndStopsBeforeTheNextFile) {
    constexpr int kFiles = 200'000;
    // On tmpfs when there is one: some disks take a millisecond per new file.
    const TempTree volume(::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp");
    const std::string root = volume / "c", big = root + "/big";
    std::filesystem::create_directories(big);
    const std::string block(4096, 'x');
    for (int i = 0; i < kFiles; ++i) {
        const std::string name = big + "/f" + std::to_string(i);
        const int fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        ASSERT_GE(fd, 0);
        if (i % 40 == 0) {
            ASSERT_EQ(::write(fd, block.data(), block.size()), 4096);
        }
        ::close(fd);
    }
    writeFileOfSize(root + "/later/x", 10'000);
    makeModel({{folderCategory("c", {root})}});
    scanEach();
    std::vector<std::pair<std::uint64_t, std::string>> reports;  // files removed, whole line
    model->subscribe([&](const ModelChange& change) {
        std::smatch m;
        if (change.field != ModelField::busyProgress || !model->busyProgress()) return;
        const std::string& text = model->busyProgress()->text;
        if (!reports.empty() && reports.back().second == text) return;  // only "停止中" changed
        if (std::regex_search(text, m, std::regex("^0 / 2 項目 · ([0-9]+) 個を削除 · .+ を解放$")))
            reports.emplace_back(std::stoull(m[1]), text);
        else
            ADD_FAILURE() << text;
    });
    model->confirmDelete({big, root + "/later"}, true);
    confirm();
    EXPECT_EQ(model->busyProgress()->fraction, 0.0);
    ASSERT_TRUE(queue->drainUntil([&] { return reports.size() >= 3; }));
    model->stopBusyWork();
    EXPECT_TRUE(model->busyProgress()->stopping);
    settle();
    EXPECT_FALSE(model->busyProgress() || model->busyMessage());

    for (std::size_t i = 2; i < reports.size(); ++i) {
        EXPECT_GT(reports[i].first, reports[i - 1].first) << reports[i].second;
    }
    const auto left = std::distance(std::filesystem::directory_iterator(big), {});
    EXPECT_GT(left, 0);
    EXPECT_LT(left, kFiles);
    EXPECT_TRUE(exists(root + "/later/x"));
    EXPECT_EQ(model->store().size(big), fresh(big));
    EXPECT_EQ(model->state("c").bytes, fresh(root));
    ASSERT_TRUE(model->notice());
    EXPECT_TRUE(model->notice()->starts_with(
        "0 項目を削除し、約 0 バイト を解放しました。\n\n停止したため、2 項目は削除していません。"
        "ここまでに "))
        << *model->notice();
    EXPECT_EQ(model->log().back().message, "削除を停止 (2 項目は削除せず)");
}

}  // namespace
}  // namespace kelvane::test
