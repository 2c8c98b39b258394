// AppModel: the deletion flows — confirmations, the background deletion, the
// store corrections and the report, and the retry with administrator rights.
#include <algorithm>
#include <set>

#include "core/catalog.h"
#include "core/fmt.h"
#include "core/path_text.h"
#include "core/unicode_text.h"
#include "model/app_model.h"
#include "model/file_probe.h"
#include "system/cleaner.h"
#include "system/protected_roots.h"

namespace kelvane {
namespace {

constexpr const char* kIrreversible = "\n\nこの操作は取り消せません。";
constexpr const char* kPermanentLabel = "完全に削除";
constexpr const char* kTrashLabel = "ゴミ箱へ入れる";
constexpr const char* kNothingToDelete = "削除する項目がありません";
constexpr std::size_t kNamesShown = 5;
constexpr std::size_t kFailureLinesShown = 3;
constexpr std::size_t kDeniedPathsShown = 5;
constexpr std::size_t kAdminFailureGraphemes = 600;
constexpr const char* kNoElevation =
    "管理者権限で削除するには pkexec が必要です。pkexec をインストールしてから、もう一度お試しくだ"
    "さい。";

std::string riskText(Risk risk) {
    switch (risk) {
        case Risk::safe:
            return "削除しても必要に応じて自動的に再生成されます。関連アプリを終了してから削除する"
                   "と確実です。";
        case Risk::caution:
            return "アプリの設定やデータが含まれる場合があります。中身を確認し、不要なものだけ個別"
                   "に削除してください。";
        case Risk::danger:
            return "削除するとデータを失う可能性があります。内容を理解している場合のみ削除してくだ"
                   "さい。";
    }
    return {};
}

std::string joined(const std::vector<std::string>& pieces, const std::string& separator) {
    std::string out;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (i > 0) out += separator;
        out += pieces[i];
    }
    return out;
}

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.size() >= prefix.size() && text.compare(0, prefix.size(), prefix) == 0;
}

std::string count(std::size_t n) {
    return std::to_string(n);
}

constexpr const char* kProtectedWhy =
    "ルート、ホームフォルダとその上のフォルダ、システムのフォルダは削除できません。中の項目は個別に"
    "削除できます。";

// The size a deletion takes an item for, just before it goes: what the store
// recorded for it; a folder the store has no size for (a scan of an
// enclosing folder is walking it again) is measured, so the folders above it
// that the store does hold lose what it really held; anything else counts
// with its own blocks.
std::int64_t sizeBeforeDeletion(SizeStore& store, const std::string& path) {
    if (const auto recorded = store.size(path)) return *recorded;
    if (FileProbe::isRealFolder(path)) {
        SizeStore scratch;
        return Scanner::scan(path, scratch).bytes;
    }
    return FileProbe::ownAllocatedSize(path).value_or(0);
}

// Whether a failed item may have lost part of what it held: not when one of
// our rules refused it before anything was touched.
bool mayBePartlyDeleted(const FileError& error) {
    for (const int untouched :
         {FileError::mountPoint, FileError::untrustedLink, FileError::trashOwnFolder,
          FileError::noUsableTrash, FileError::mountInsideNotMoved, FileError::protectedRoot,
          FileError::notStarted}) {
        if (error.isRefusal(untouched)) return false;
    }
    return true;
}

// Brings the store in line with what a deletion did, so that every total
// equals a fresh walk: a deleted item leaves with everything below it and
// every recorded folder above it loses its size; a folder that stayed but
// may have lost part of its contents is measured again, and the folders
// above it change by the difference. `measured` holds the size each item
// was taken for just before it was deleted.
void applyToStore(SizeStore& store, const DeleteOutcome& outcome,
                  const std::map<std::string, std::int64_t>& measured) {
    for (const DeletedItem& item : outcome.deleted) {
        store.removeSubtree(item.path);
        store.adjust(item.path, -item.size);
    }
    for (const DeleteFailure& failure : outcome.failures) {
        // Only a real folder: a link to one (to "/", say) failed as a link,
        // and walking its target would record that target's whole tree
        // under the link's name.
        if (!mayBePartlyDeleted(failure.error) || !FileProbe::isRealFolder(failure.path)) continue;
        std::optional<std::int64_t> before = store.size(failure.path);
        if (const auto it = measured.find(failure.path); !before && it != measured.end()) {
            before = it->second;
        }
        store.removeSubtree(failure.path);
        const ScanStats after = Scanner::scan(failure.path, store);
        if (before) store.adjust(failure.path, after.bytes - *before);
    }
}

// An administrator run that never started, or whose password dialog was
// dismissed: nothing was deleted. The marker is searched in free text, so it
// only counts while nothing was reported deleted: a deletion that happened
// must reach the store whatever the text says.
bool ranNothing(const AdminDeleteResult& result) {
    return result.elevationMissing ||
           (result.outcome.deleted.empty() && result.run.err.find("-128") != std::string::npos);
}

}  // namespace

void AppModel::dropFromSelection(const std::vector<std::string>& deleted) {
    if (entrySelection_.empty()) return;
    const std::set<std::string> gone(deleted.begin(), deleted.end());
    // The path itself or any folder above it was deleted.
    const auto deletedWith = [&gone](const std::string& path) {
        for (std::string at = path;;) {
            if (gone.count(at) != 0) return true;
            std::string up = PathText::parent(at);
            if (up == at) return false;
            at = std::move(up);
        }
    };
    // Beyond what this deletion reports, whatever vanished meanwhile goes
    // too (a link counts as there while the link itself is), so the footer
    // and the delete buttons only ever count items that exist.
    std::set<std::string> kept;
    for (const std::string& path : entrySelection_) {
        if (!deletedWith(path) && FileProbe::existsItself(path)) kept.insert(kept.end(), path);
    }
    setEntrySelection(std::move(kept));
}

AppModel::Offer AppModel::offerable(std::vector<std::string> paths) const {
    const ProtectedRoots roots(env_.home);
    Offer offer;
    std::vector<std::string> refused;
    for (std::string& path : paths) {
        (roots.containsPath(path) ? refused : offer.paths).push_back(std::move(path));
    }
    if (refused.empty()) return offer;
    std::vector<std::string> shown;
    for (std::size_t i = 0; i < std::min(refused.size(), kNamesShown); ++i) {
        shown.push_back(PathText::shortForm(refused[i], env_.home));
    }
    std::string list = joined(shown, "\n");
    if (refused.size() > kNamesShown)
        list += "\n…ほか " + count(refused.size() - kNamesShown) + " 項目";
    offer.note = "\n\n次の " + count(refused.size()) + " 項目は対象から外しました。" +
                 kProtectedWhy + "\n" + list;
    offer.notice = std::string("削除できない項目です。") + kProtectedWhy + "\n\n" + list;
    return offer;
}

std::int64_t AppModel::sizeForDeletion(const std::string& path) const {
    if (const auto recorded = store_->size(path)) return *recorded;
    return FileProbe::ownAllocatedSize(path).value_or(0);
}

std::vector<std::string> AppModel::childrenOfRoots(const std::string& id) const {
    std::vector<std::string> items;
    for (const std::string& root : state(id).roots) {
        for (std::string& child : Cleaner::contents(root)) items.push_back(std::move(child));
    }
    return items;
}

void AppModel::scanIfPresent(const std::string& id) {
    const auto it = std::find_if(categories_.begin(), categories_.end(),
                                 [&](const CleanCategory& c) { return c.id == id; });
    if (it != categories_.end()) scan(CleanCategory(*it));
}

void AppModel::confirmDelete(const std::vector<std::string>& selected, bool permanent) {
    if (selected.empty()) return;
    if (selectedID_) {
        if (const std::optional<std::string> reason = readOnlyReason(*selectedID_)) {
            setNotice(*reason);
            return;
        }
    }
    const Offer offer = offerable(selected);
    if (offer.paths.empty()) {
        setNotice(offer.notice);
        return;
    }
    const std::vector<std::string>& paths = offer.paths;
    std::int64_t total = 0;
    for (const std::string& path : paths) total += sizeForDeletion(path);

    std::vector<std::string> names;
    for (std::size_t i = 0; i < std::min(paths.size(), kNamesShown); ++i) {
        names.push_back(PathText::lastComponent(paths[i]));
    }
    std::string nameText = joined(names, "\n");
    if (paths.size() > kNamesShown)
        nameText += "\n…ほか " + count(paths.size() - kNamesShown) + " 項目";

    // Items already in the Trash can only be deleted for good; moving them
    // to the Trash again would only give them a new name there. Without a
    // trash folder the prefix would be "/", which would turn every move to
    // the Trash into a permanent deletion, so then nothing counts as trashed.
    const std::string trashPrefix = env_.trashFiles + "/";
    const bool inTrash = !env_.trashFiles.empty() &&
                         std::all_of(paths.begin(), paths.end(), [&](const std::string& p) {
                             return startsWith(p, trashPrefix);
                         });
    const bool effective = permanent || inTrash;

    std::string title = count(paths.size()) +
                        (effective ? " 項目を完全に削除しますか？" : " 項目をゴミ箱に入れますか？");
    std::string message = "合計 " + Fmt::bytes(total) + "\n\n" + nameText;
    if (effective) message += kIrreversible;
    message += offer.note;
    setPendingAction(PendingAction(std::move(title), std::move(message),
                                   effective ? kPermanentLabel : kTrashLabel,
                                   [weak = weak_from_this(), paths, effective] {
                                       if (const auto model = weak.lock()) {
                                           model->performDelete(paths, effective);
                                       }
                                   }));
}

void AppModel::confirmCleanCategory(const CleanCategory& category, bool permanent) {
    if (const std::optional<std::string> reason = readOnlyReason(category.id)) {
        setNotice(*reason);
        return;
    }
    const Offer offer = offerable(childrenOfRoots(category.id));
    const std::vector<std::string>& items = offer.paths;
    if (items.empty()) {
        setNotice(offer.notice.empty() ? std::string(kNothingToDelete) : offer.notice);
        return;
    }
    const bool effective = permanent || category.id == "trash";
    std::string title = "「" + category.name + "」の中身をすべて" +
                        (effective ? "完全に削除し" : "ゴミ箱に入れ") + "ますか？";
    std::string message = count(items.size()) + " 項目 / 約 " +
                          Fmt::bytes(state(category.id).bytes) + "\n\n" + riskText(category.risk);
    if (effective) message += kIrreversible;
    message += offer.note;
    setPendingAction(PendingAction(std::move(title), std::move(message),
                                   effective ? kPermanentLabel : kTrashLabel,
                                   [weak = weak_from_this(), items, effective] {
                                       if (const auto model = weak.lock()) {
                                           model->performDelete(items, effective);
                                       }
                                   }));
}

void AppModel::confirmQuickClean(const std::vector<std::string>& ids) {
    const std::set<std::string> wanted(ids.begin(), ids.end());
    std::vector<std::string> names;
    std::vector<std::string> items;
    std::int64_t total = 0;
    for (const CleanCategory& category : categories_) {
        if (wanted.count(category.id) == 0) continue;
        names.push_back(category.name);
        const CategoryState s = state(category.id);
        if (s.status != CategoryState::Status::done) continue;
        for (std::string& item : childrenOfRoots(category.id)) items.push_back(std::move(item));
        total += s.bytes;
    }
    const Offer offer = offerable(std::move(items));
    items = offer.paths;
    if (items.empty()) {
        setNotice(offer.notice.empty() ? std::string(kNothingToDelete) : offer.notice);
        return;
    }
    std::string message = "対象: " + joined(names, ", ") + "\n" + count(items.size()) +
                          " 項目 / 約 " + Fmt::bytes(total) +
                          " を完全に削除します。\n\n使用中のファイルは削除に失敗することがあります "
                          "(その場合はアプリを終了して再実行)。" +
                          offer.note;
    setPendingAction(PendingAction("クイッククリーンを実行しますか？", std::move(message),
                                   kPermanentLabel, [weak = weak_from_this(), items] {
                                       if (const auto model = weak.lock()) {
                                           model->performDelete(items, true);
                                       }
                                   }));
}

std::uint64_t AppModel::beginDeletion(const std::vector<std::string>& paths) {
    const std::uint64_t key = nextDeletion_++;
    DeletionUnderWay& deletion = deletions_[key];
    deletion.paths = paths;
    for (const auto& [id, s] : states_) {
        if (s.status == CategoryState::Status::scanning &&
            (anyInside(paths, s.roots) || anyInside(s.roots, paths))) {
            deletion.overlappedScans.insert(id);
        }
    }
    return key;
}

void AppModel::endDeletion(std::uint64_t deletion, bool changedDisk) {
    const auto ended = deletions_.extract(deletion);
    updateBusyProgress();
    if (ended.empty() || !changedDisk) return;
    for (const std::string& id : ended.mapped().overlappedScans) {
        const CategoryState::Status status = state(id).status;
        if (status == CategoryState::Status::done) {
            scanIfPresent(id);
            continue;
        }
        const auto task = scanTasks_.find(id);
        if (status != CategoryState::Status::scanning || task == scanTasks_.end() ||
            task->second.isCancelled()) {
            continue;  // gone missing, or stopped by the user: its finish says so
        }
        // Its walk may count what is gone: it stops now and starts again at its finish.
        task->second.cancel();
        restartAtFinish_.insert_or_assign(id, task->second);
    }
}

void AppModel::performDelete(const std::vector<std::string>& paths, bool permanent) {
    setBusyMessage(std::string(permanent ? "削除中…" : "ゴミ箱へ移動中…"));
    const std::uint64_t deletion = beginDeletion(paths);
    // The worker reports from its own thread, at most ten times a second;
    // each report becomes one step on the main thread.
    auto progress = std::make_shared<DeletionProgress>(
        paths.size(),
        [weak = weak_from_this(), main = main_, deletion](const DeletionCounts& counts) {
            main->post([weak, deletion, counts] {
                if (const auto model = weak.lock()) model->showDeletionProgress(deletion, counts);
            });
        });
    DeletionUnderWay& underWay = deletions_[deletion];
    underWay.progress = progress;
    underWay.counts.itemsTotal = paths.size();
    underWay.permanent = permanent;
    updateBusyProgress();
    startDetached(
        TaskPriority::userInitiated, [weak = weak_from_this(), main = main_, store = store_, paths,
                                      permanent, deletion, progress](const TaskHandle&) {
            std::map<std::string, std::int64_t> measured;
            const auto sizeOf = [&](const std::string& path) {
                return measured[path] = sizeBeforeDeletion(*store, path);
            };
            DeleteOutcome outcome = Cleaner::deleteItems(paths, permanent, sizeOf, progress.get());
            applyToStore(*store, outcome, measured);
            main->post([weak, outcome = std::move(outcome), permanent, deletion,
                        counts = progress->counts()] {
                if (const auto model = weak.lock())
                    model->afterDelete(outcome, permanent, deletion, counts);
            });
        });
}

void AppModel::showDeletionProgress(std::uint64_t deletion, const DeletionCounts& counts) {
    const auto it = deletions_.find(deletion);
    if (it == deletions_.end()) return;  // a late report: the result is already in
    it->second.counts = counts;
    updateBusyProgress();
}

void AppModel::updateBusyProgress() {
    // The overlay follows the newest of the user's own deletions under way,
    // then an export being written, then a scan being opened.
    for (auto it = deletions_.rbegin(); it != deletions_.rend(); ++it) {
        const DeletionUnderWay& underWay = it->second;
        if (!underWay.progress) continue;
        const DeletionCounts& c = underWay.counts;
        BusyProgress shown;
        shown.text = count(c.itemsDone) + " / " + count(c.itemsTotal) + " 項目";
        shown.text += underWay.permanent ? " · " + std::to_string(c.filesRemoved) + " 個を削除 · " +
                                               Fmt::bytes(c.bytesFreed) + " を解放"
                                         : "をゴミ箱へ移動";
        if (c.itemsTotal > 1) {
            shown.fraction = static_cast<double>(c.itemsDone) / static_cast<double>(c.itemsTotal);
        }
        shown.stopping = underWay.progress->stopRequested();
        assignIfChanged(busyProgress_, std::optional<BusyProgress>(std::move(shown)),
                        ModelField::busyProgress);
        return;
    }
    std::optional<BusyProgress> shown;
    if (exporting_) {
        shown.emplace();
        shown->text = count(static_cast<std::size_t>(exporting_->items)) + " 項目 · " +
                      Fmt::bytes(exporting_->bytes);
        // The last measurement tells roughly how much there is to walk.
        if (exporting_->expected > 0) {
            shown->fraction = std::min(1.0, static_cast<double>(exporting_->bytes) /
                                                static_cast<double>(exporting_->expected));
        }
        shown->stopping = exporting_->stop->load();
    } else if (reading_) {
        shown.emplace();
        const auto [done, size] = *reading_;
        // A pipe has no size to read towards.
        shown->text = Fmt::bytes(static_cast<std::int64_t>(done)) +
                      (size > 0 ? " / " + Fmt::bytes(static_cast<std::int64_t>(size)) : "") +
                      " を読み込みました";
        if (size > 0) {
            shown->fraction = std::min(1.0, static_cast<double>(done) / static_cast<double>(size));
        }
        shown->stoppable = false;
    }
    assignIfChanged(busyProgress_, std::move(shown), ModelField::busyProgress);
}

void AppModel::stopBusyWork() {
    for (auto& [key, underWay] : deletions_) {
        if (underWay.progress) underWay.progress->requestStop();
    }
    if (exporting_) exporting_->stop->store(true);
    updateBusyProgress();
}

void AppModel::afterDelete(const DeleteOutcome& outcome, bool permanent, std::uint64_t deletion,
                           const DeletionCounts& counts) {
    setBusyMessage(std::nullopt);
    noteDeleted(outcome.deleted);
    endDeletion(deletion, true);
    refreshCategorySizes();
    recordAfterDeletion();
    refreshDisk();

    // Step out of folders that the deletion took away.
    while (browserPath_ && !FileProbe::exists(*browserPath_)) {
        const std::optional<CleanCategory> category = selectedCategory();
        if (!category) break;
        const std::vector<std::string> roots = state(category->id).roots;
        const bool isRoot = std::find(roots.begin(), roots.end(), *browserPath_) != roots.end();
        if (isRoot && roots.size() < 2) break;
        setBrowserPath(PathText::parent(*browserPath_));
    }
    std::vector<std::string> gone;
    for (const DeletedItem& item : outcome.deleted) gone.push_back(item.path);
    dropFromSelection(gone);
    loadEntries();

    std::int64_t freed = 0;
    for (const DeletedItem& item : outcome.deleted) freed += item.size;
    const std::string n = count(outcome.deleted.size());
    std::string summary;
    if (!permanent) {
        scanIfPresent("trash");
        summary = n + " 項目 (約 " + Fmt::bytes(freed) +
                  ") をゴミ箱に入れました。容量を解放するにはゴミ箱を空にしてください。";
    } else {
        summary = n + " 項目を削除し、約 " + Fmt::bytes(freed) + " を解放しました。";
    }
    addLog(summary, false);

    const std::vector<std::string> protectedPaths = outcome.protectedPaths();
    const std::vector<std::string> denied = outcome.permissionDenied();
    const std::set<std::string> classified = [&] {
        std::set<std::string> s(protectedPaths.begin(), protectedPaths.end());
        s.insert(denied.begin(), denied.end());
        return s;
    }();
    // Beyond protected and denied: items the user's stop left, items our
    // rules refused (in their own words, never taken for items in use), and
    // the other failures.
    std::size_t stopped = 0;
    std::vector<const DeleteFailure*> refused;
    std::vector<const DeleteFailure*> other;
    for (const DeleteFailure& failure : outcome.failures) {
        if (classified.count(failure.path) != 0) continue;
        const FileError& error = failure.error;
        if (error.isRefusal(FileError::stopped) || error.isRefusal(FileError::notStarted)) {
            ++stopped;
        } else if (error.domain == FileError::refusalDomain) {
            refused.push_back(&failure);
        } else {
            other.push_back(&failure);
        }
    }
    const auto exampleLines = [](const std::vector<const DeleteFailure*>& failures) {
        std::vector<std::string> lines;
        for (std::size_t i = 0; i < std::min(failures.size(), kFailureLinesShown); ++i) {
            lines.push_back("・" + PathText::lastComponent(failures[i]->path) + ": " +
                            failures[i]->error.description);
        }
        return joined(lines, "\n");
    };

    if (stopped > 0) {
        // What went before the stop, the part of a half-deleted folder included.
        summary += "\n\n停止したため、" + count(stopped) + " 項目は削除していません。";
        if (permanent && counts.filesRemoved > 0) {
            summary += "ここまでに " + std::to_string(counts.filesRemoved) + " 個、約 " +
                       Fmt::bytes(counts.bytesFreed) + " を削除しました。";
        }
        addLog("削除を停止 (" + count(stopped) + " 項目は削除せず)", false);
    }
    if (!refused.empty()) {
        const std::string r = count(refused.size());
        summary += "\n\n" + r + " 項目は安全のため削除しませんでした。\n" + exampleLines(refused);
        addLog(r + " 項目は安全のため削除せず", true);
    }

    if (!protectedPaths.empty()) {
        const std::string p = count(protectedPaths.size());
        summary += "\n\n" + p +
                   " 項目は変更不可 (immutable) または追記のみ (append-only) の属性が付いているため"
                   "スキップしました。";
        addLog(p + " 項目は変更不可・追記のみの属性のためスキップ", false);
    }
    if (!other.empty()) {
        const std::string o = count(other.size());
        summary +=
            "\n\n" + o + " 項目は削除できませんでした (使用中の可能性)。\n" + exampleLines(other);
        addLog(o + " 項目の削除に失敗", true);
    }

    if (denied.empty()) {
        setNotice(summary);
        return;
    }
    std::vector<std::string> shown;
    for (std::size_t i = 0; i < std::min(denied.size(), kDeniedPathsShown); ++i) {
        shown.push_back(PathText::shortForm(denied[i], env_.home));
    }
    std::string message = count(denied.size()) +
                          " 項目はアクセス権が無いため削除できませんでした。管理者パスワードを入力"
                          "して完全に削除できます (rm -rf)。\n\n" +
                          joined(shown, "\n");
    setPendingAction(PendingAction("管理者権限で削除しますか？", std::move(message),
                                   "管理者権限で削除", [weak = weak_from_this(), denied] {
                                       if (const auto model = weak.lock()) {
                                           model->performAdminDelete(denied);
                                       }
                                   }));
}

void AppModel::performAdminDelete(const std::vector<std::string>& paths) {
    setBusyMessage(std::string("管理者権限で削除中…"));
    runTool<AdminDeleteResult>(
        [paths, store = store_](Services& services) {
            // The helper does not measure: the sizes are taken here, just
            // before, the way the user's own deletion takes them, and the
            // store is corrected the same way.
            std::map<std::string, std::int64_t> measured;
            for (const std::string& path : paths) measured[path] = sizeBeforeDeletion(*store, path);
            AdminDeleteResult result = services.deleteAsAdmin(paths);
            if (ranNothing(result)) return result;
            for (DeletedItem& item : result.outcome.deleted) item.size = measured[item.path];
            applyToStore(*store, result.outcome, measured);
            return result;
        },
        [offered = paths.size(), deletion = beginDeletion(paths)](AppModel& model,
                                                                  const AdminDeleteResult& result) {
            model.afterAdminDelete(result, offered, deletion);
        });
}

void AppModel::afterAdminDelete(const AdminDeleteResult& result, std::size_t offered,
                                std::uint64_t deletion) {
    setBusyMessage(std::nullopt);
    const DeleteOutcome& outcome = result.outcome;
    const bool nothingRan = ranNothing(result);
    noteDeleted(outcome.deleted);
    endDeletion(deletion, !nothingRan);
    if (result.elevationMissing) {
        addLog("pkexec が無いため管理者権限で削除できませんでした", true);
        setNotice(std::string(kNoElevation));
        return;
    }
    if (nothingRan) {
        setNotice(std::string("キャンセルしました。"));
        return;
    }

    // The store already lost what the helper removed, also when others failed.
    std::vector<std::string> gone;
    for (const DeletedItem& item : outcome.deleted) gone.push_back(item.path);
    refreshCategorySizes();
    recordAfterDeletion();
    refreshDisk();
    dropFromSelection(gone);
    loadEntries();

    if (outcome.failures.empty() && result.run.status == 0) {
        const std::string n = count(offered);
        addLog("管理者権限で " + n + " 項目を削除", false);
        setNotice(n + " 項目を削除しました。");
        return;
    }
    // Counted from the helper's per-item results: its messages are
    // translated text and say nothing reliable.
    const std::size_t blocked = outcome.protectedPaths().size();
    addLog("管理者削除で " + count(blocked) + " 項目が保護のため削除不可", true);
    if (blocked > 0) {
        setNotice(count(blocked) +
                  " 項目は変更不可 (immutable) または追記のみ (append-only) の属性が付いているため"
                  "管理者権限でも削除できません (これは正常です)。他の項目は削除しました。");
        return;
    }
    std::vector<std::string> lines;
    for (const DeleteFailure& failure : outcome.failures) {
        lines.push_back("・" + PathText::lastComponent(failure.path) + ": " +
                        failure.error.description);
    }
    std::string details = joined(lines, "\n");
    // What the elevation wrote is quoted, not taken for our words: pkexec
    // writes its own messages in whatever language it likes.
    if (!UnicodeText::trimmed(result.run.err).empty()) {
        details += "\n詳細:\n" + UnicodeText::trimmed(result.run.err);
    }
    setNotice("削除に失敗しました:\n" +
              UnicodeText::firstGraphemes(UnicodeText::trimmed(details), kAdminFailureGraphemes));
}

}  // namespace kelvane
