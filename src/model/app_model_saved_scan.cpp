// AppModel: scans saved to a file in ncdu's export format — opening one as a
// read-only category, and writing a category's tree out.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

#include "core/catalog.h"
#include "core/fmt.h"
#include "core/path_text.h"
#include "core/unique_fd.h"
#include "model/app_model.h"
#include "system/error_text.h"

namespace kelvane {
namespace {

constexpr const char* kReadOnly =
    "スキャン結果は読み取り専用です。別のコンピュータで作られたものかもしれず、"
    "このディスク上のファイルと照合していないため、ここからは削除も表示もできません。";
constexpr const char* kNotInScan = "このフォルダはスキャン結果にありません";

// Progress is shown at most this often, whatever the speed of the disk.
constexpr std::chrono::milliseconds kProgressInterval{100};

// Calls `post` at most once per interval; the first call always passes.
class Throttle {
  public:
    bool due() {
        const auto now = std::chrono::steady_clock::now();
        if (now < next_) return false;
        next_ = now + kProgressInterval;
        return true;
    }

  private:
    std::chrono::steady_clock::time_point next_{};
};

// What an export says of its tree, as a measured category's state: its root's total, its
// counts, and when it was made (the export's own time, else the file's).
CategoryState stateOf(const ExportedTree& tree, const struct stat& file) {
    CategoryState state;
    state.status = CategoryState::Status::done;
    state.bytes = tree.bytes(tree.root());
    for (ExportedTree::Id at = 0; at < tree.size(); ++at) {
        ++(tree.isFolder(at) ? state.dirs : state.files);
        if (tree.hadReadError(at)) ++state.unreadable;
    }
    state.roots = {std::string(tree.name(tree.root()))};
    if (const auto stamp = tree.metadata().timestamp) {
        state.lastScan = Date{static_cast<double>(*stamp)};
    } else {
        state.lastScan = Date::fromTimespec(file.st_mtim.tv_sec, file.st_mtim.tv_nsec);
    }
    return state;
}

std::string fileNameSafe(std::string text) {
    for (char& c : text) {
        if (c == '/' || c == ' ' || c == ':') c = '-';
    }
    while (!text.empty() && text.front() == '-') text.erase(text.begin());
    return text.empty() ? "root" : text;
}

}  // namespace

bool AppModel::isSavedScan(const std::string& id) const {
    return savedScans_.count(id) != 0;
}

std::shared_ptr<const ExportedTree> AppModel::savedScan(const std::string& id) const {
    const auto it = savedScans_.find(id);
    return it == savedScans_.end() ? nullptr : it->second;
}

std::optional<std::string> AppModel::readOnlyReason(const std::string& id) const {
    if (isSavedScan(id)) return std::string(kReadOnly);
    return std::nullopt;
}

void AppModel::chooseSavedScan() {
    const std::optional<std::string> chosen = services_->chooseSavedScan();
    if (chosen && !chosen->empty()) openSavedScan(*chosen);
}

void AppModel::openPath(const std::string& path) {
    struct stat item {};
    if (::stat(path.c_str(), &item) == 0 && !S_ISDIR(item.st_mode)) {
        openSavedScan(path);
    } else {
        addFolder(path);
    }
}

void AppModel::openSavedScan(const std::string& file) {
    if (reading_) {
        setNotice("別のスキャン結果を読み込んでいます。終わってからもう一度開いてください。");
        return;
    }
    reading_.emplace(0, 0);
    setBusyMessage(std::string("スキャン結果を読み込んでいます…"));
    updateBusyProgress();
    startDetached(TaskPriority::userInitiated, [weak = weak_from_this(), main = main_,
                                                file](const TaskHandle&) {
        std::shared_ptr<const ExportedTree> tree;
        CategoryState state;
        std::optional<std::string> error;
        const UniqueFd fd(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
        struct stat status {};
        if (!fd.valid() || ::fstat(fd.get(), &status) != 0) {
            error = ErrorText::posix(errno);
        } else if (S_ISDIR(status.st_mode)) {
            error = ErrorText::posix(EISDIR);
        } else {
            const auto size =
                static_cast<std::uint64_t>(S_ISREG(status.st_mode) ? status.st_size : 0);
            Throttle throttle;
            auto read = ExportedTree::read(fd.get(), [&](std::uint64_t done) {
                if (!throttle.due()) return;
                main->post([weak, done, size] {
                    const auto model = weak.lock();
                    if (!model || !model->reading_) return;
                    model->reading_ = {done, size};
                    model->updateBusyProgress();
                });
            });
            if (auto* loaded = std::get_if<ExportedTree>(&read)) {
                tree = std::make_shared<const ExportedTree>(std::move(*loaded));
                state = stateOf(*tree, status);
            } else {
                const ExportError& bad = std::get<ExportError>(read);
                error = bad.message + "（" + std::to_string(bad.offset) + " バイト目）";
            }
        }
        main->post([weak, file, tree, state, error] {
            if (const auto model = weak.lock()) model->afterSavedScanRead(file, tree, state, error);
        });
    });
}

void AppModel::afterSavedScanRead(const std::string& file, std::shared_ptr<const ExportedTree> tree,
                                  CategoryState state, const std::optional<std::string>& error) {
    reading_.reset();
    updateBusyProgress();
    setBusyMessage(std::nullopt);
    if (!tree) {
        setNotice("スキャン結果を開けませんでした: " + file + "\n" + error.value_or(""));
        return;
    }
    const std::string& root = state.roots.front();
    const std::string id = Catalog::kSavedScanPrefix + file;
    CleanCategory category{
        id,
        "探索",
        PathText::shortForm(root, env_.home) + " (" + Fmt::date(state.lastScan) + ")",
        "doc.text.magnifyingglass",
        "スキャン結果: " + file + "\n" + tree->metadata().progname + " が " + root +
            " を調べたもの",
        Risk::caution,
        CategoryKind::folders,
        {},
        false,
        false};
    savedScans_[id] = std::move(tree);
    const auto existing = std::find(categories_.begin(), categories_.end(), category);
    if (existing == categories_.end()) {
        categories_.push_back(std::move(category));
    } else {
        *existing = std::move(category);
    }
    notify(ModelField::categories);
    putState(id, std::move(state));
    if (selectedID_ == id) {
        didChangeSelection();
    } else {
        setSelectedID(id);
    }
}

void AppModel::listSavedScan(const ExportedTree& tree) {
    setEntriesLoading(false);
    const auto entry = [&](ExportedTree::Id id, std::string path) {
        return Entry{std::move(path),
                     std::string(tree.name(id)),
                     tree.isFolder(id),
                     false,
                     false,
                     tree.bytes(id),
                     std::nullopt};
    };
    std::vector<Entry> list;
    if (!browserPath_) {
        list.push_back(entry(tree.root(), std::string(tree.name(tree.root()))));
    } else if (const std::optional<ExportedTree::Id> folder = tree.find(*browserPath_)) {
        const std::string& parent = *browserPath_;
        const std::string prefix = parent.empty() || parent.back() == '/' ? parent : parent + "/";
        const auto children = tree.children(*folder);
        list.reserve(children.size());
        for (const ExportedTree::Id child : children)
            list.push_back(entry(child, prefix + std::string(tree.name(child))));
    } else {
        setEntries({});
        setEntriesError(std::string(kNotInScan));
        return;
    }
    // The tree lists each folder largest first already.
    setEntries(std::move(list));
}

std::vector<std::pair<std::string, std::int64_t>> AppModel::knownChildren(
    const std::string& path) const {
    const std::shared_ptr<const ExportedTree> tree =
        selectedID_ ? savedScan(*selectedID_) : nullptr;
    if (!tree) return store_->children(path);
    std::vector<std::pair<std::string, std::int64_t>> folders;
    const std::optional<ExportedTree::Id> at = tree->find(path);
    if (!at) return folders;
    const std::string prefix = !path.empty() && path.back() == '/' ? path : path + "/";
    for (const ExportedTree::Id child : tree->children(*at)) {
        if (tree->isFolder(child))
            folders.emplace_back(prefix + std::string(tree->name(child)), tree->bytes(child));
    }
    return folders;
}

void AppModel::exportCategory(const CleanCategory& category) {
    if (exporting_) {
        setNotice("別のスキャン結果を書き出しています。終わってからもう一度お試しください。");
        return;
    }
    const CategoryState current = state(category.id);
    if (isSavedScan(category.id) || current.roots.empty()) {
        setNotice("「" + category.name + "」には書き出せるフォルダがありません。");
        return;
    }
    const std::optional<std::string> file =
        services_->chooseExportFile(fileNameSafe(category.name) + ".json");
    if (!file || file->empty()) return;
    const auto stop = std::make_shared<std::atomic<bool>>(false);
    exporting_ = ExportUnderWay{stop, 0, 0, current.bytes};
    setBusyMessage(std::string("スキャン結果を書き出しています…"));
    updateBusyProgress();
    startDetached(TaskPriority::userInitiated, [weak = weak_from_this(), main = main_, file = *file,
                                                roots = current.roots, stop](const TaskHandle&) {
        const auto finish = [&](const ExportWalkResult& result, int openErrno) {
            main->post([weak, file, result, openErrno] {
                if (const auto model = weak.lock()) model->afterExport(file, result, openErrno);
            });
        };
        // Written beside the target and renamed over it at the end, so a stopped or failed
        // export never leaves half a file where the user asked for one, nor in place of an
        // older export of the same name.
        // Made with the user's usual permissions (the umask applies), not mkstemp's 0600.
        std::string temporary;
        UniqueFd out;
        for (int attempt = 0; !out.valid(); ++attempt) {
            temporary = file + ".part" + std::to_string(attempt);
            out =
                UniqueFd(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
            if (!out.valid() && (errno != EEXIST || attempt == 99)) {
                finish({}, errno);
                return;
            }
        }
        Throttle throttle;
        ExportWalkResult result =
            exportRoots(roots, out.get(), [&](std::int64_t items, std::int64_t bytes) {
                if (throttle.due()) {
                    main->post([weak, items, bytes] {
                        const auto model = weak.lock();
                        if (!model || !model->exporting_) return;
                        model->exporting_->items = items;
                        model->exporting_->bytes = bytes;
                        model->updateBusyProgress();
                    });
                }
                return !stop->load();
            });
        if (result.rootErrno == 0 && result.writeErrno == 0 &&
            (::fsync(out.get()) != 0 || ::rename(temporary.c_str(), file.c_str()) != 0)) {
            result.writeErrno = errno;
        }
        if (result.rootErrno != 0 || result.writeErrno != 0) ::unlink(temporary.c_str());
        finish(result, 0);
    });
}

void AppModel::afterExport(const std::string& file, const ExportWalkResult& result, int openErrno) {
    exporting_.reset();
    updateBusyProgress();
    setBusyMessage(std::nullopt);
    if (openErrno != 0) {
        setNotice("スキャン結果を書き出せませんでした: " + file + "\n" +
                  ErrorText::posix(openErrno));
        return;
    }
    if (result.writeErrno == ECANCELED) {
        addLog("スキャン結果の書き出しを中止しました: " + file, false);
        return;
    }
    if (result.rootErrno != 0 || result.writeErrno != 0) {
        setNotice("スキャン結果を書き出せませんでした: " + file + "\n" +
                  ErrorText::posix(result.rootErrno != 0 ? result.rootErrno : result.writeErrno));
        return;
    }
    addLog("スキャン結果を書き出しました: " + file + "（" + Fmt::bytes(result.stats.bytes) + "、" +
               std::to_string(result.stats.files + result.stats.dirs) + " 項目）",
           false);
}

}  // namespace kelvane
