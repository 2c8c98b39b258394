#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "core/fmt.h"
#include "model_fixture.h"
#include "support/run_as_test_user.h"

namespace kelvane::test {
namespace {

using DeleteFailureTest = ModelTest;

TEST_F(DeleteFailureTest, ProtectedAndFailedItemsAreReportedAndPartlyDeletedFoldersRemeasured) {
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
                  " を解放しました。\n\n2 項目は macOS に保護されているためスキップしました "
                  "(Safari, HomeKit, CloudKit などの純正キャッシュ。容量はわずかで、削除できないの"
                  "が正常です)。\n\n4 項目は削除できませんでした (使用中の可能性)。\n・gone1" +
                  gone + "\n・gone2" + gone + "\n・gone3" + gone);
    ASSERT_EQ(model->log().size(), 3u);
    EXPECT_EQ(model->log()[1].message, "2 項目は macOS 保護のためスキップ");
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
TEST_F(DeleteFailureTest, DeniedItemsGoToTheAdministratorWhoseRunEndsInEachWay) {
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
    EXPECT_EQ(model->log()[1].message, "1 項目は macOS 保護のためスキップ");
    EXPECT_EQ(model->notice(), std::nullopt);
    ASSERT_TRUE(model->pendingAction());
    EXPECT_EQ(model->pendingAction()->message,
              "6 項目はアクセス権が無いため削除できませんでした。管理者パスワードを入力して"
              "完全に削除できます (rm -rf)。\n\n~/c/locked/link\n~/c/locked/d1\n"
              "~/c/locked/d2\n~/c/locked/d3\n~/c/locked/d4");
    EXPECT_EQ(model->pendingAction()->destructiveLabel, "管理者権限で削除");

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
    std::string accents;
    std::string flags;
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
         "2 項目は macOS に保護されているため管理者権限でも削除できません (これは正常です)。"
         "他の項目は削除しました。",
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

}  // namespace
}  // namespace kelvane::test
