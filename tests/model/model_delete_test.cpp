#include <unistd.h>

#include "core/fmt.h"
#include "core/path_text.h"
#include "model_fixture.h"

namespace kelvane::test {
namespace {

using Status = CategoryState::Status;

const std::string kIrreversible = "\n\nこの操作は取り消せません。";

std::string readText(const std::string& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

class DeleteTest : public ModelTest {
  protected:
    // A model over one folder category "c" rooted at home/c, measured.
    void makeScannedModel(std::vector<CleanCategory> extra = {}) {
        std::vector<CleanCategory> categories{folderCategory("c", {path("c")})};
        categories.insert(categories.end(), extra.begin(), extra.end());
        makeModel(categories);
        for (const CleanCategory& category : model->categories()) model->scan(category);
        settle();
    }

    std::int64_t stored(const std::string& relative) const {
        return model->store().size(path(relative)).value_or(-1);
    }

    // Confirms the pending deletion and waits for its report.
    void confirmAndSettle() {
        confirm();
        settle();
    }
};

TEST_F(DeleteTest, ConfirmDeleteNamesFiveItemsAndCountsTheRest) {
    makeFolder("c/sub");
    makeFile("c/sub/inner", 40'000);
    for (int i = 1; i <= 6; ++i) makeFile("c/f" + std::to_string(i), 1000 * i);
    makeScannedModel();

    // A measured folder counts with its recorded size, a file with its own
    // blocks, a path that is gone with nothing.
    std::vector<std::string> paths{path("c/sub")};
    std::int64_t total = stored("c/sub");
    for (int i = 1; i <= 6; ++i) {
        paths.push_back(path("c/f" + std::to_string(i)));
        total += allocated(paths.back());
    }
    paths.push_back(path("c/none"));
    ASSERT_GT(stored("c/sub"), allocated(path("c/sub")));

    model->confirmDelete(paths, false);
    ASSERT_TRUE(model->pendingAction());
    EXPECT_EQ(model->pendingAction()->title, "8 項目をゴミ箱に入れますか？");
    EXPECT_EQ(model->pendingAction()->message,
              "合計 " + Fmt::bytes(total) + "\n\nsub\nf1\nf2\nf3\nf4\n…ほか 3 項目");
    EXPECT_EQ(model->pendingAction()->destructiveLabel, "ゴミ箱へ入れる");

    paths.resize(6);
    model->confirmDelete(paths, true);
    EXPECT_EQ(model->pendingAction()->title, "6 項目を完全に削除しますか？");
    EXPECT_TRUE(model->pendingAction()->message.ends_with("f4\n…ほか 1 項目" + kIrreversible));
    EXPECT_EQ(model->pendingAction()->destructiveLabel, "完全に削除");

    paths.resize(5);
    model->confirmDelete(paths, false);
    EXPECT_TRUE(model->pendingAction()->message.ends_with("\n\nsub\nf1\nf2\nf3\nf4"));

    model->setPendingAction(std::nullopt);
    model->confirmDelete({}, true);
    EXPECT_FALSE(model->pendingAction());
    EXPECT_FALSE(model->notice());
}

TEST_F(DeleteTest, ItemsInTheHomeTrashAreOnlyDeletedForGood) {
    makeTrashed("old.txt", 5000);
    makeTrashed("dir/x", 5000);
    makeTrashed("stay", 100);
    makeFile("c/live.txt", 100);
    makeFile(".Trash/elsewhere", 100);
    makeFile(".local/share/Trash/files-old/x", 100);
    makeScannedModel();

    const std::vector<std::string> inTrash{trashFiles() + "/old.txt", trashFiles() + "/dir"};
    const auto titleFor = [&](const std::vector<std::string>& paths) {
        model->confirmDelete(paths, false);
        return model->pendingAction()->title;
    };
    EXPECT_EQ(titleFor(inTrash), "2 項目を完全に削除しますか？");
    EXPECT_TRUE(model->pendingAction()->message.ends_with("old.txt\ndir" + kIrreversible));
    EXPECT_EQ(model->pendingAction()->destructiveLabel, "完全に削除");
    EXPECT_EQ(titleFor({trashFiles() + "/dir/x"}), "1 項目を完全に削除しますか？");

    // One item outside the Trash puts the whole batch back into the Trash;
    // so does a folder that only looks like the Trash, or the old ~/.Trash.
    EXPECT_EQ(titleFor({inTrash[0], path("c/live.txt")}), "2 項目をゴミ箱に入れますか？");
    EXPECT_EQ(titleFor({path(".local/share/Trash/files-old/x")}), "1 項目をゴミ箱に入れますか？");
    EXPECT_EQ(titleFor({path(".Trash/elsewhere")}), "1 項目をゴミ箱に入れますか？");

    model->confirmDelete(inTrash, false);
    confirmAndSettle();
    for (const std::string name : {"old.txt", "dir"}) {
        EXPECT_FALSE(exists(trashFiles() + "/" + name)) << name;
        EXPECT_FALSE(exists(trashInfo() + "/" + name + ".trashinfo")) << name;
    }
    // Nothing came back into the Trash, and the other trashed item is whole.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(trashFiles()), {}), 1);
    EXPECT_TRUE(exists(trashInfo() + "/stay.trashinfo"));
    EXPECT_TRUE(exists(path("c/live.txt")));
    EXPECT_TRUE(model->notice()->starts_with("2 項目を削除し、約 "));

    // A model told of no trash folder never takes every path for trashed.
    ModelEnvironment bare;
    bare.home = home;
    const auto other = AppModel::create(queue, services, bare);
    other->confirmDelete({path("c/live.txt")}, false);
    EXPECT_EQ(other->pendingAction()->title, "1 項目をゴミ箱に入れますか？");
}

TEST_F(DeleteTest, CleanCategoryTitlesMessagesAndRiskTexts) {
    makeTrashed("a", 3000);
    makeTrashed("b/c", 3000);
    makeFile("safe/one", 1000);
    makeFile("caution/one", 1000);
    makeFile("danger/one", 1000);
    makeFile("danger2/sub/two", 1000);
    makeFile("outside", 1000);
    CleanCategory safe = folderCategory("safe", {path("safe")});
    CleanCategory caution = folderCategory("caution", {path("caution")});
    caution.risk = Risk::caution;
    CleanCategory danger = folderCategory("danger", {path("danger"), path("danger2")});
    danger.risk = Risk::danger;
    CleanCategory empty = folderCategory("empty", {path("empty")});
    makeFolder("empty");
    std::vector<CleanCategory> categories{safe, caution, danger, empty};
    for (const CleanCategory& c : Catalog::build(home, home + "/tmpbase", trashFiles())) {
        if (c.id == "trash") categories.push_back(c);
    }
    makeModel(categories);
    for (const CleanCategory& category : model->categories()) model->scan(category);
    settle();

    const auto bytesOf = [&](const std::string& id) { return Fmt::bytes(model->state(id).bytes); };
    model->confirmCleanCategory(safe, false);
    EXPECT_EQ(model->pendingAction()->title, "「safe」の中身をすべてゴミ箱に入れますか？");
    EXPECT_EQ(model->pendingAction()->message,
              "1 項目 / 約 " + bytesOf("safe") +
                  "\n\n削除しても必要に応じて自動的に再生成されます。関連アプリを終了してから削除"
                  "すると確実です。");
    EXPECT_EQ(model->pendingAction()->destructiveLabel, "ゴミ箱へ入れる");

    model->confirmCleanCategory(caution, true);
    EXPECT_EQ(model->pendingAction()->title, "「caution」の中身をすべて完全に削除しますか？");
    EXPECT_EQ(model->pendingAction()->message,
              "1 項目 / 約 " + bytesOf("caution") +
                  "\n\nアプリの設定やデータが含まれる場合があります。中身を確認し、不要なものだけ"
                  "個別に削除してください。" +
                  kIrreversible);
    EXPECT_EQ(model->pendingAction()->destructiveLabel, "完全に削除");

    model->confirmCleanCategory(danger, false);
    EXPECT_EQ(model->pendingAction()->message,
              "2 項目 / 約 " + bytesOf("danger") +
                  "\n\n削除するとデータを失う可能性があります。内容を理解している場合のみ削除して"
                  "ください。");

    // The Trash is always emptied for good, whatever the caller asked.
    const CleanCategory trash = model->categories().back();
    model->confirmCleanCategory(trash, false);
    EXPECT_EQ(model->pendingAction()->title, "「ゴミ箱」の中身をすべて完全に削除しますか？");
    EXPECT_EQ(model->pendingAction()->message,
              "2 項目 / 約 " + bytesOf("trash") +
                  "\n\n削除しても必要に応じて自動的に再生成されます。関連アプリを終了してから削除"
                  "すると確実です。" +
                  kIrreversible);
    EXPECT_EQ(model->pendingAction()->destructiveLabel, "完全に削除");
    confirmAndSettle();
    // Emptied in place: the folder stays, its items and their info files go.
    ASSERT_TRUE(exists(trashFiles()));
    EXPECT_TRUE(std::filesystem::is_empty(trashFiles()));
    EXPECT_TRUE(std::filesystem::is_empty(trashInfo()));
    EXPECT_EQ(model->state("trash").bytes, allocated(trashFiles()));

    // Every root is emptied, but the roots themselves stay.
    model->confirmCleanCategory(danger, true);
    confirmAndSettle();
    EXPECT_TRUE(exists(path("danger")) && exists(path("danger2")));
    EXPECT_FALSE(exists(path("danger/one")) || exists(path("danger2/sub")));
    EXPECT_TRUE(exists(path("outside")));
    EXPECT_EQ(model->state("danger").bytes, stored("danger") + stored("danger2"));
    EXPECT_EQ(stored("danger2"), allocated(path("danger2")));

    model->setNotice(std::nullopt);
    model->confirmCleanCategory(empty, false);
    EXPECT_FALSE(model->pendingAction());
    EXPECT_EQ(model->notice(), "削除する項目がありません");
}

TEST_F(DeleteTest, QuickCleanCountsOnlyMeasuredCategoriesButNamesAll) {
    makeFile("done/a", 7000);
    makeFile("done/b/c", 9000);
    makeFile("never/x", 5000);
    makeFile("unticked/y", 5000);
    makeModel({{folderCategory("unticked", {path("unticked")}),
                folderCategory("never", {path("never")}), folderCategory("done", {path("done")})}});
    model->scan(model->categories()[0]);
    model->scan(model->categories()[2]);
    settle();
    ASSERT_EQ(model->state("never").status, Status::idle);

    // List order decides, not the order of the ticks; unknown ids are ignored.
    model->confirmQuickClean({"done", "nope", "never"});
    ASSERT_TRUE(model->pendingAction());
    EXPECT_EQ(model->pendingAction()->title, "クイッククリーンを実行しますか？");
    EXPECT_EQ(model->pendingAction()->message,
              "対象: never, done\n2 項目 / 約 " + Fmt::bytes(model->state("done").bytes) +
                  " を完全に削除します。\n\n使用中のファイルは削除に失敗することがあります "
                  "(その場合はアプリを終了して再実行)。");
    EXPECT_EQ(model->pendingAction()->destructiveLabel, "完全に削除");
    confirmAndSettle();
    EXPECT_FALSE(exists(path("done/a")));
    EXPECT_FALSE(exists(path("done/b")));
    EXPECT_FALSE(exists(trashFiles()));  // never to the Trash
    EXPECT_TRUE(exists(path("never/x")));
    EXPECT_TRUE(exists(path("unticked/y")));

    model->setPendingAction(std::nullopt);
    model->confirmQuickClean({"never"});
    EXPECT_FALSE(model->pendingAction());
    EXPECT_EQ(model->notice(), "削除する項目がありません");
}

TEST_F(DeleteTest, MovingThreeItemsToTheTrashReportsAndRescansTheTrash) {
    makeFile("Library/Caches/app/blob", 200'000);
    makeFile("Library/Caches/app/sub/more", 30'000);
    makeFile("Library/Caches/one.db", 12'345);
    makeFile("Library/Caches/two.log", 1);
    makeFile("Library/Caches/keep", 4096);
    makeTrashed("earlier", 4096);
    makeModel();
    const std::vector<CleanCategory> categories = model->categories();
    for (const CleanCategory& c : categories) {
        if (c.id == "user_caches" || c.id == "trash") model->scan(c);
    }
    settle();
    const std::int64_t cachesBefore = stored("Library/Caches");
    const std::int64_t freed = stored("Library/Caches/app") +
                               allocated(path("Library/Caches/one.db")) +
                               allocated(path("Library/Caches/two.log"));
    const std::int64_t trashBefore = model->state("trash").bytes;
    const std::int64_t trashFolderBefore = allocated(trashFiles());
    ASSERT_EQ(model->state("trash").roots, std::vector<std::string>{trashFiles()});
    ASSERT_GT(trashBefore, 0);

    std::vector<std::string> events;
    Status trashStatus = model->state("trash").status;
    model->subscribe([&](const ModelChange& change) {
        if (change.field == ModelField::states && change.key == "trash" &&
            model->state("trash").status != trashStatus) {
            trashStatus = model->state("trash").status;
            if (trashStatus == Status::scanning) events.push_back("trash scanning");
        }
        if (change.field == ModelField::log) events.push_back("log");
        if (change.field == ModelField::notice) events.push_back("notice");
    });
    const int readsBefore = diskReads;
    model->confirmDelete(
        {path("Library/Caches/app"), path("Library/Caches/one.db"), path("Library/Caches/two.log")},
        false);
    confirm();
    EXPECT_EQ(model->busyMessage(), "ゴミ箱へ移動中…");
    settle();

    const std::string summary =
        "3 項目 (約 " + Fmt::bytes(freed) +
        ") をゴミ箱に入れました。容量を解放するにはゴミ箱を空にしてください。";
    ASSERT_FALSE(model->log().empty());
    EXPECT_EQ(model->log().back().message, summary);
    EXPECT_FALSE(model->log().back().isError);
    EXPECT_EQ(model->notice(), summary);
    EXPECT_EQ(events, (std::vector<std::string>{"trash scanning", "log", "notice"}));
    EXPECT_EQ(model->state("trash").status, Status::done);
    EXPECT_EQ(model->busyMessage(), std::nullopt);
    EXPECT_GT(diskReads, readsBefore);

    for (const std::string name : {"app", "one.db", "two.log"}) {
        EXPECT_FALSE(exists(path("Library/Caches/" + name))) << name;
        EXPECT_TRUE(exists(trashFiles() + "/" + name)) << name;
        EXPECT_TRUE(readText(trashBase() + "/Trash/info/" + name + ".trashinfo")
                        .find("Path=" + path("Library/Caches/" + name)) != std::string::npos);
    }
    EXPECT_TRUE(exists(path("Library/Caches/keep")));
    EXPECT_TRUE(exists(trashFiles() + "/app/sub/more"));

    // The rescan sees the moved items in "ゴミ箱" (the files folder's own
    // entry may have grown while taking three more names).
    EXPECT_EQ(model->state("trash").bytes,
              trashBefore + freed + allocated(trashFiles()) - trashFolderBefore);

    // The store and the category lose exactly what went away.
    EXPECT_EQ(stored("Library/Caches"), cachesBefore - freed);
    EXPECT_EQ(model->state("user_caches").bytes, cachesBefore - freed);
    EXPECT_FALSE(model->store().size(path("Library/Caches/app")));
    EXPECT_FALSE(model->store().size(path("Library/Caches/app/sub")));
}

TEST_F(DeleteTest, PermanentDeletionLowersEveryAncestorByTheDeletedAmount) {
    makeFile("c/x/y/big", 300'000);
    makeFile("c/x/y/z/deeper", 70'000);
    makeFile("c/x/small", 9000);
    makeFile("c/x/stay", 9000);
    makeFile("c/keep/k", 9000);
    makeScannedModel();
    const std::int64_t c = stored("c");
    const std::int64_t x = stored("c/x");
    const std::int64_t keep = stored("c/keep");
    const std::int64_t freed = stored("c/x/y") + allocated(path("c/x/small"));

    model->confirmDelete({path("c/x/y"), path("c/x/small")}, true);
    confirm();
    EXPECT_EQ(model->busyMessage(), "削除中…");
    settle();

    EXPECT_EQ(stored("c"), c - freed);
    EXPECT_EQ(stored("c/x"), x - freed);
    EXPECT_EQ(stored("c/keep"), keep);
    EXPECT_FALSE(model->store().size(path("c/x/y")));
    EXPECT_FALSE(model->store().size(path("c/x/y/z")));
    EXPECT_EQ(model->state("c").bytes, c - freed);
    const std::string summary = "2 項目を削除し、約 " + Fmt::bytes(freed) + " を解放しました。";
    EXPECT_EQ(model->log().back().message, summary);
    EXPECT_EQ(model->notice(), summary);
    EXPECT_FALSE(exists(path("c/x/y")));
    EXPECT_TRUE(exists(path("c/x/stay")));
    EXPECT_TRUE(exists(path("c/keep/k")));
    EXPECT_FALSE(exists(trashFiles()));

    // A fresh walk agrees with the corrected numbers.
    SizeStore fresh;
    Scanner::scan(path("c"), fresh);
    EXPECT_EQ(fresh.size(path("c")), stored("c"));
}

TEST_F(DeleteTest, OverlappingDeletionsKeepTheStoreConsistent) {
    for (int i = 0; i < 6; ++i) makeFile("c/d" + std::to_string(i) + "/f", 20'000 * (i + 1));
    makeScannedModel();
    const std::int64_t before = stored("c");
    std::int64_t freed = 0;
    for (int i = 0; i < 6; ++i) freed += stored("c/d" + std::to_string(i));

    // Confirmed back to back: three deletions run at once.
    for (int i = 0; i < 6; i += 2) {
        model->confirmDelete({path("c/d" + std::to_string(i)), path("c/d" + std::to_string(i + 1))},
                             i != 2);
        confirm();
    }
    settle();
    EXPECT_EQ(stored("c"), before - freed);
    EXPECT_EQ(model->state("c").bytes, before - freed);
    ASSERT_GE(model->log().size(), 3u);
    EXPECT_EQ(model->notice(), model->log().back().message);
    EXPECT_EQ(model->busyMessage(), std::nullopt);
}

TEST_F(DeleteTest, AConfirmationOutlivingTheModelDoesNothing) {
    makeFile("c/f", 100);
    makeScannedModel();
    model->confirmDelete({path("c/f")}, true);
    const PendingAction action = *model->pendingAction();
    model.reset();
    action.perform();
    settle();
    EXPECT_TRUE(exists(path("c/f")));
}

TEST_F(DeleteTest, TheBrowserStepsOutOfDeletedFolders) {
    makeFile("c/a/b/f", 100);
    makeFile("c/other", 100);
    makeFile("r1/x/f", 100);
    makeFile("r2/f", 100);
    makeScannedModel({folderCategory("two", {path("r1"), path("r2")})});

    model->setSelectedID("c");
    model->setBrowserPath(path("c/a/b"));
    model->confirmDelete({path("c/a")}, true);
    confirmAndSettle();
    EXPECT_EQ(model->browserPath(), path("c"));
    ASSERT_EQ(model->entries().size(), 1u);
    EXPECT_EQ(model->entries()[0].path, path("c/other"));

    // The only root of a category is never left, even when it is gone.
    model->confirmDelete({path("c")}, true);
    confirmAndSettle();
    EXPECT_EQ(model->browserPath(), path("c"));

    // A vanished root among several gives way to its parent folder.
    model->setSelectedID("two");
    model->setBrowserPath(path("r1/x"));
    model->confirmDelete({path("r1")}, false);
    confirmAndSettle();
    EXPECT_EQ(model->browserPath(), home);
}

TEST_F(DeleteTest, LinksLoseTheLinkOnlyAndNonUtf8NamesGoByTheirListedPath) {
    const std::string toTrash = "\xff\xfe.bin";
    const std::string forGood = "caf\xe9";
    makeFile("target/inside", 50'000);
    makeFile("c/" + toTrash, 5000);
    makeFile("c/" + forGood, 5000);
    makeFile("c/plain", 5000);
    ASSERT_EQ(::symlink(path("target").c_str(), path("c/link").c_str()), 0);
    ASSERT_EQ(::symlink(path("target").c_str(), path("c/link2").c_str()), 0);
    makeScannedModel();
    model->setSelectedID("c");
    model->didChangeSelection();
    settle();
    const auto listed = [&](const std::string& name) {
        for (const Entry& e : model->entries()) {
            if (PathText::lastComponent(e.path) == name) return e.path;
        }
        return std::string();
    };
    const std::string first = listed(toTrash);
    const std::string second = listed(forGood);
    ASSERT_EQ(first, path("c/" + toTrash));
    ASSERT_EQ(second, path("c/" + forGood));

    model->confirmDelete({path("c/link"), first}, false);
    confirmAndSettle();
    struct stat info {};
    ASSERT_EQ(::lstat((trashFiles() + "/link").c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode));
    EXPECT_TRUE(exists(trashFiles() + "/" + toTrash));
    EXPECT_NE(readText(trashInfo() + "/" + toTrash + ".trashinfo").find("%FF%FE.bin"),
              std::string::npos);

    const std::int64_t size = allocated(second) + allocated(path("c/link2"));
    model->confirmDelete({path("c/link2"), second}, true);
    confirmAndSettle();
    for (const std::string& gone : {path("c/link"), path("c/link2"), first, second}) {
        EXPECT_FALSE(exists(gone)) << gone;
    }
    EXPECT_TRUE(exists(path("target/inside")));
    EXPECT_TRUE(exists(path("c/plain")));
    EXPECT_EQ(model->entries().size(), 1u);
    EXPECT_EQ(model->notice(), "2 項目を削除し、約 " + Fmt::bytes(size) + " を解放しました。");
}

}  // namespace
}  // namespace kelvane::test
