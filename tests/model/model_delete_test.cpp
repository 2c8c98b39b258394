#include <unistd.h>

#include "core/fmt.h"
#include "model_fixture.h"

namespace kelvane::test {
namespace {

const std::string kIrreversible = "\n\nこの操作は取り消せません。";
const std::string kSafe =
    "\n\n削除しても必要に応じて自動的に再生成されます。関連アプリを終了してから削除すると確実です"
    "。";

class DeleteTest : public ModelTest {
  protected:
    std::int64_t stored(const std::string& relative) const {
        return model->store().size(path(relative)).value_or(-1);
    }
};

TEST_F(DeleteTest, Confirmations) {
    makeFile("c/sub/inner", 40'000);
    for (int i = 1; i <= 6; ++i) makeFile("c/f" + std::to_string(i), 1000 * i);
    makeTrashed("old.txt", 5000);
    makeTrashed("dir/x", 5000);
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
    struct Row {
        std::function<void()> ask;
        std::string title;
        std::string message;  // all of it, or (when `start`) how it begins
        bool permanent;
        bool start = false;
    };
    const std::vector<Row> rows{
        {[&] { model->confirmDelete(c8, false); }, "8 項目をゴミ箱に入れますか？",
         total(8) + "\n…ほか 3 項目", false},
        {[&] {
             model->confirmDelete({c8.begin(), c8.begin() + 6}, true);
         },
         "6 項目を完全に削除しますか？", total(6) + "\n…ほか 1 項目" + kIrreversible, true},
        {[&] {
             model->confirmDelete({c8.begin(), c8.begin() + 5}, false);
         },
         "5 項目をゴミ箱に入れますか？", total(5), false},
        // Items already in the Trash can only be deleted for good; one item
        // outside it, or in a look-alike folder, puts the batch in the Trash.
        {[&] { model->confirmDelete(trashed, false); }, "2 項目を完全に削除しますか？", "合計 ",
         true, true},
        {[&] {
             model->confirmDelete({trashed[0], c8[1]}, false);
         },
         "2 項目をゴミ箱に入れますか？", "合計 ", false, true},
        {[&] { model->confirmDelete({path(".local/share/Trash/files-old/x")}, false); },
         "1 項目をゴミ箱に入れますか？", "合計 ", false, true},
        // The category's size, then the text of its risk.
        {[&] { model->confirmCleanCategory(model->categories()[1], false); },
         "「c」の中身をすべてゴミ箱に入れますか？", "7" + about("c") + kSafe, false},
        {[&] { model->confirmCleanCategory(danger, false); },
         "「danger」の中身をすべてゴミ箱に入れますか？",
         "2" + about("danger") + "\n\n削除するとデータを失う可能性があります。", false, true},
        // The Trash is always emptied for good.
        {[&] { model->confirmCleanCategory(model->categories()[0], false); },
         "「ゴミ箱」の中身をすべて完全に削除しますか？",
         "2" + about("trash") + kSafe + kIrreversible, true},
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
}

TEST_F(DeleteTest, TrashedItemsGoForGoodAndEmptyingKeepsEveryRoot) {
    makeTrashed("old.txt", 5000);
    makeTrashed("dir/x", 5000);
    makeTrashed("stay", 100);
    makeFile("d1/one", 1000);
    makeFile("d2/sub/two", 1000);
    makeFile("outside", 100);
    std::vector<CleanCategory> categories = catalogRows({"trash"});
    categories.push_back(folderCategory("d", {path("d1"), path("d2")}));
    makeModel(categories);
    scanEach();
    // Items in the Trash go for good, with their info files.
    model->confirmDelete({trashFiles() + "/old.txt", trashFiles() + "/dir"}, false);
    confirmAndSettle();
    EXPECT_TRUE(model->notice()->starts_with("2 項目を削除し、約 "));
    // Quick clean empties every root for good: nothing reaches the Trash.
    model->confirmQuickClean({"d"});
    confirmAndSettle();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(trashFiles()), {}), 1);
    EXPECT_TRUE(exists(path("d1")) && exists(path("d2")) && exists(path("outside")));
    EXPECT_FALSE(exists(path("d1/one")) || exists(path("d2/sub")));
    EXPECT_EQ(model->state("d").bytes, fresh(path("d1")) + fresh(path("d2")));
    // Emptied in place: the folder stays, its items and their info files go.
    model->confirmCleanCategory(model->categories()[0], false);
    confirmAndSettle();
    EXPECT_TRUE(std::filesystem::is_empty(trashFiles()));
    EXPECT_EQ(model->state("trash").bytes, fresh(trashFiles()));
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
    model->setSelectedID(std::string("user_caches"));
    model->didChangeSelection();
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

TEST_F(DeleteTest, TheBrowserStepsOutOfDeletedFolders) {
    makeFile("c/a/b/f", 100);
    makeFile("c/other", 100);
    makeFile("r1/x/f", 100);
    makeFile("r2/f", 100);
    makeModel(
        {{folderCategory("c", {path("c")}), folderCategory("two", {path("r1"), path("r2")})}});
    scanEach();
    model->setSelectedID("c");
    model->setBrowserPath(path("c/a/b"));
    model->confirmDelete({path("c/a")}, true);
    confirmAndSettle();
    EXPECT_EQ(model->browserPath(), path("c"));
    EXPECT_EQ(model->entries().size(), 1u);  // "other"
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

}  // namespace
}  // namespace kelvane::test
