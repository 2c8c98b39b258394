#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <sstream>

#include "core/fmt.h"
#include "core/path_text.h"
#include "model_fixture.h"
#include "support/run_as_test_user.h"

namespace kelvane::test {
namespace {

const std::string kProtectedTail =
    " 項目は macOS に保護されているためスキップしました (Safari, HomeKit, CloudKit "
    "などの純正キャッシュ。容量はわずかで、削除できないのが正常です)。";
const std::string kDeniedHead =
    " 項目はアクセス権が無いため削除できませんでした。管理者パスワードを入力して完全に削除できま"
    "す (rm -rf)。\n\n";

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) out.push_back(line);
    return out;
}

using DeleteFailureTest = ModelTest;

TEST_F(DeleteFailureTest, ProtectedAndFailedItemsAreReportedAndPartlyDeletedFoldersRemeasured) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can set the immutable flag";
    makeFile("c/part/big", 400'000);
    makeFile("c/part/pinned", 5000);
    makeFile("c/pinned.db", 5000);
    makeFile("c/ok", 7000);
    makeFile("c/keep", 7000);
    makeFile("c/vanishing", 7000);
    makeModel({{folderCategory("c", {path("c")})}});
    model->scan(model->categories()[0]);
    settle();
    const Immutable inFolder(path("c/part/pinned"));
    const Immutable alone(path("c/pinned.db"));
    if (inFolder.error() != 0)
        GTEST_SKIP() << "no immutable flag here: " << std::strerror(inFolder.error());
    ASSERT_EQ(alone.error(), 0);
    const std::int64_t c = model->store().size(path("c")).value();
    const std::int64_t part = model->store().size(path("c/part")).value();
    const std::int64_t ok = allocated(path("c/ok"));

    // Selected: what is deleted, what fails, and an item someone else removes
    // meanwhile. Only what still exists stays selected.
    model->setEntrySelection(
        {path("c/part"), path("c/pinned.db"), path("c/ok"), path("c/vanishing")});
    // Four items that vanished before their turn stand for failures of any
    // other kind; only three of them are named.
    model->confirmDelete({path("c/part"), path("c/gone1"), path("c/pinned.db"), path("c/gone2"),
                          path("c/ok"), path("c/gone3"), path("c/gone4")},
                         true);
    confirm();
    std::filesystem::remove(path("c/vanishing"));
    settle();
    EXPECT_EQ(model->entrySelection(),
              (std::set<std::string>{path("c/part"), path("c/pinned.db")}));

    // The folder lost its big file; what is left is measured again.
    EXPECT_FALSE(exists(path("c/part/big")));
    EXPECT_TRUE(exists(path("c/part/pinned")));
    SizeStore fresh;
    const std::int64_t partNow = Scanner::scan(path("c/part"), fresh).bytes;
    EXPECT_LT(partNow, part);
    EXPECT_EQ(model->store().size(path("c/part")), partNow);
    EXPECT_EQ(model->store().size(path("c")), c - ok + (partNow - part));
    EXPECT_EQ(model->state("c").bytes, c - ok + (partNow - part));

    const std::vector<std::string> notice = lines(model->notice().value_or(""));
    ASSERT_EQ(notice.size(), 8u) << model->notice().value_or("");
    EXPECT_EQ(notice[0], "1 項目を削除し、約 " + Fmt::bytes(ok) + " を解放しました。");
    EXPECT_EQ(notice[1], "");
    EXPECT_EQ(notice[2], "2" + kProtectedTail);
    EXPECT_EQ(notice[3], "");
    EXPECT_EQ(notice[4], "4 項目は削除できませんでした (使用中の可能性)。");
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(notice[static_cast<std::size_t>(4 + i)],
                  "・gone" + std::to_string(i) + ": " + FileError::fromErrno(ENOENT).description);
    }

    const std::vector<LogEntry>& log = model->log();
    ASSERT_GE(log.size(), 3u);
    EXPECT_EQ(log[log.size() - 3].message, notice[0]);
    EXPECT_FALSE(log[log.size() - 3].isError);
    EXPECT_EQ(log[log.size() - 2].message, "2 項目は macOS 保護のためスキップ");
    EXPECT_FALSE(log[log.size() - 2].isError);
    EXPECT_EQ(log.back().message, "4 項目の削除に失敗");
    EXPECT_TRUE(log.back().isError);
    EXPECT_FALSE(model->pendingAction());
    EXPECT_TRUE(exists(path("c/keep")));
}

// As kelvane-test: one item moves to the Trash, one is immutable (protected),
// one is gone (ENOENT), and six lie in a folder the user may not write
// (EACCES) — among them a link to a folder, which must not be measured in
// its target's place. The report ends in the offer to retry as administrator,
// naming the first five denied items.
TEST_F(DeleteFailureTest, MixedFailuresEndInTheAdministratorOffer) {
    if (const auto shared = testUserFolder()) {
        const std::string pinned = *shared + "/open/pinned";
        makeFile("c/plain", 9000);
        makeFile("c/keep", 100);
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
        model->scan(model->categories()[0]);
        settle();
        const std::int64_t plain = allocated(path("c/plain"));
        const std::int64_t c = model->store().size(path("c")).value();
        const std::int64_t locked = model->store().size(path("c/locked")).value();

        std::vector<std::string> paths{path("c/plain"), pinned, path("c/gone")};
        paths.insert(paths.end(), denied.begin(), denied.end());
        model->confirmDelete(paths, false);
        confirm();
        settle();

        EXPECT_FALSE(exists(path("c/plain")));
        EXPECT_TRUE(exists(trashFiles() + "/plain"));
        EXPECT_TRUE(exists(pinned));
        for (const std::string& d : denied) EXPECT_TRUE(exists(d)) << d;
        // The link failed as a link: its target was never walked under its name.
        EXPECT_FALSE(model->store().size(denied[0]));
        EXPECT_FALSE(model->store().size(denied[0] + "/sub"));
        EXPECT_EQ(model->store().size(path("c/locked")), locked);
        EXPECT_EQ(model->store().size(path("c")), c - plain);

        const std::vector<LogEntry>& log = model->log();
        ASSERT_EQ(log.size(), 3u);
        EXPECT_EQ(log[0].message, "1 項目 (約 " + Fmt::bytes(plain) +
                                      ") をゴミ箱に入れました。容量を解放するにはゴミ箱を空に"
                                      "してください。");
        EXPECT_FALSE(log[0].isError);
        EXPECT_EQ(log[1].message, "1 項目は macOS 保護のためスキップ");
        EXPECT_FALSE(log[1].isError);
        EXPECT_EQ(log[2].message, "1 項目の削除に失敗");
        EXPECT_TRUE(log[2].isError);
        EXPECT_EQ(model->notice(), std::nullopt);
        ASSERT_TRUE(model->pendingAction());
        EXPECT_EQ(model->pendingAction()->title, "管理者権限で削除しますか？");
        EXPECT_EQ(model->pendingAction()->message,
                  "6" + kDeniedHead +
                      "~/c/locked/link\n~/c/locked/d1\n~/c/locked/d2\n~/c/locked/d3\n"
                      "~/c/locked/d4");
        EXPECT_EQ(model->pendingAction()->destructiveLabel, "管理者権限で削除");
        EXPECT_TRUE(exists(path("c/keep")));
        return;
    }
    if (!canRunAsTestUser()) GTEST_SKIP() << "needs root, runuser and the kelvane-test account";
    const TempTree tree;
    const std::string& shared = tree.path();
    // A folder anyone may write, so only the flag keeps the item in place.
    ASSERT_EQ(::mkdir((shared + "/open").c_str(), 0777), 0);
    ASSERT_EQ(::chmod((shared + "/open").c_str(), 0777), 0);
    std::ofstream(shared + "/open/pinned") << "root's";
    const Immutable pinned(shared + "/open/pinned");
    if (pinned.error() != 0)
        GTEST_SKIP() << "no immutable flag here: " << std::strerror(pinned.error());
    EXPECT_EQ(rerunAsTestUser(shared), 0) << "the checks run as kelvane-test failed (see above)";
    EXPECT_TRUE(exists(shared + "/open/pinned"));
}

// As kelvane-test: three folders the user may not delete are offered to the
// administrator, whose run then ends in each of the ways it can.
TEST_F(DeleteFailureTest, AdministratorOutcomes) {
    if (!testUserFolder()) {
        if (!canRunAsTestUser()) GTEST_SKIP() << "needs root, runuser and the kelvane-test account";
        EXPECT_EQ(rerunAsTestUser("-"), 0) << "the checks run as kelvane-test failed (see above)";
        return;
    }
    // What the run says of each of the three items.
    enum class Verdict { deleted, immutable, busy, notReported };
    using enum Verdict;
    struct Row {
        std::string name;
        ShellResult run;
        bool elevationMissing;
        std::array<Verdict, 3> verdicts;
        std::string notice;
        std::string log;  // empty: nothing logged
        bool logIsError;
        bool refreshed;  // disk re-read, totals recomputed
    };
    // 400 "é" written as e + combining accent and 400 flags after the two
    // failure lines (10 user-perceived characters each, plus a line feed):
    // the cut at 600 keeps 600 - 22 - 400 - 1 = 177 flags.
    std::string accents;
    std::string flags;
    for (int i = 0; i < 400; ++i) accents += "e\xcc\x81";
    for (int i = 0; i < 400; ++i) flags += "\xf0\x9f\x87\xaf\xf0\x9f\x87\xb5";
    const std::string protectedText =
        "2 項目は macOS に保護されているため管理者権限でも削除できません (これは正常です)。"
        "他の項目は削除しました。";
    const std::vector<Row> rows{
        {"all deleted",
         {0, "", ""},
         false,
         {deleted, deleted, deleted},
         "3 項目を削除しました。",
         "管理者権限で 3 項目を削除",
         false,
         true},
        {"dismissed",
         {126, "", "-128"},
         false,
         {notReported, notReported, notReported},
         "キャンセルしました。",
         "",
         false,
         false},
        {"pkexec missing",
         {-1, "", ""},
         true,
         {notReported, notReported, notReported},
         "管理者権限で削除するには pkexec が必要です。pkexec をインストールしてから、もう一度お"
         "試しください。",
         "pkexec が無いため管理者権限で削除できませんでした",
         true,
         false},
        {"two protected",
         {1, "", ""},
         false,
         {deleted, immutable, immutable},
         protectedText,
         "管理者削除で 2 項目が保護のため削除不可",
         true,
         true},
        {"failed, none protected",
         {1, "", accents + "\n" + flags + "\n\t "},
         false,
         {deleted, busy, busy},
         "削除に失敗しました:\n・d2: 使用中です\n・d3: 使用中です\n" + accents + "\n" +
             flags.substr(0, 177 * 8),
         "管理者削除で 0 項目が保護のため削除不可",
         true,
         true},
    };

    for (std::size_t n = 0; n < rows.size(); ++n) {
        const Row& row = rows[n];
        SCOPED_TRACE(row.name);
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
        model->scan(model->categories()[0]);
        settle();

        model->setEntrySelection({items.begin(), items.end()});
        model->confirmDelete(items, true);
        confirm();
        settle();
        ASSERT_TRUE(model->pendingAction());
        ASSERT_EQ(model->pendingAction()->title, "管理者権限で削除しますか？");
        ASSERT_EQ(model->entrySelection().size(), 3u);
        const std::int64_t before = model->store().size(path(base)).value();

        AdminDeleteResult answer{row.run, {}, row.elevationMissing};
        std::set<std::string> left;
        std::int64_t freed = 0;
        for (std::size_t i = 0; i < items.size(); ++i) {
            const std::string& item = items[i];
            switch (row.verdicts[i]) {
                case deleted:
                    answer.outcome.deleted.push_back({item, 0});
                    freed += model->store().size(item).value();
                    continue;
                case immutable:
                    answer.outcome.failures.push_back(
                        {item, FileError::refusal(FileError::immutable, EPERM)});
                    break;
                case busy:
                    answer.outcome.failures.push_back(
                        {item, FileError{FileError::posixDomain, EBUSY, "使用中です", nullptr}});
                    break;
                case notReported:
                    answer.outcome.failures.push_back(
                        {item, FileError::refusal(FileError::notReported)});
                    break;
            }
            left.insert(item);
        }
        services->adminResult = answer;
        services->adminEffect = [left](const std::vector<std::string>& paths) {
            for (const std::string& p : paths) {
                if (left.contains(p)) continue;
                ::chmod(PathText::parent(p).c_str(), 0755);
                ::chmod(p.c_str(), 0755);
                std::filesystem::remove_all(p);
            }
        };
        services->adminCalls.clear();
        const std::size_t logged = model->log().size();
        const int reads = diskReads;
        confirm();
        EXPECT_EQ(model->busyMessage(), "管理者権限で削除中…");
        settle();

        EXPECT_EQ(services->adminCalls, std::vector<std::vector<std::string>>{items});
        EXPECT_EQ(model->busyMessage(), std::nullopt);
        EXPECT_EQ(model->notice(), row.notice);
        if (row.log.empty()) {
            EXPECT_EQ(model->log().size(), logged);
        } else {
            ASSERT_EQ(model->log().size(), logged + 1);
            EXPECT_EQ(model->log().back().message, row.log);
            EXPECT_EQ(model->log().back().isError, row.logIsError);
        }
        EXPECT_EQ(diskReads > reads, row.refreshed);
        for (const std::string& item : items) EXPECT_EQ(exists(item), left.contains(item)) << item;
        // The store and the category lose exactly the deleted items, also
        // when others failed.
        EXPECT_EQ(model->store().size(path(base)), before - freed);
        EXPECT_EQ(model->state("c").bytes, before - freed);
        for (const std::string& item : items) {
            EXPECT_EQ(model->store().size(item).has_value(), left.contains(item)) << item;
        }
        EXPECT_EQ(model->entrySelection(), left);
    }
}

}  // namespace
}  // namespace kelvane::test
