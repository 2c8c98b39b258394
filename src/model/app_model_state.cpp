// AppModel: construction, observation, the plain fields, launch and the
// activity log.
#include <algorithm>

#include "core/catalog.h"
#include "core/catalog_on_linux.h"
#include "model/app_model.h"
#include "model/shown_categories.h"
#include "scan/disk_capacity.h"

namespace kelvane {
namespace {

constexpr std::size_t kLogLimit = 200;
constexpr std::chrono::milliseconds kInitialSelectionDelay{1500};

}  // namespace

ModelEnvironment ModelEnvironment::real() {
    // The built-in rows first (at their Linux places; the other platform's
    // only where their folders exist), then the places that fill a Linux
    // disk; the folders the user adds come after both.
    std::vector<CleanCategory> categories = ShownCategories::onThisMachine(CatalogOnLinux::all());
    ModelEnvironment env;
    env.home = Catalog::home();
    env.trashFiles = Catalog::trashFiles();
    env.categories = std::move(categories);
    env.readDisk = &DiskCapacity::current;
    env.readHomeVolume = [] { return DiskCapacity::homeVolume(Catalog::home()); };
    env.historyFolder = HistoryFile::defaultFolder();
    return env;
}

std::shared_ptr<AppModel> AppModel::create(std::shared_ptr<MainQueue> mainQueue,
                                           std::shared_ptr<Services> services,
                                           ModelEnvironment environment) {
    std::shared_ptr<AppModel> model(
        new AppModel(std::move(mainQueue), std::move(services), std::move(environment)));
    model->finishConstruction();
    return model;
}

AppModel::AppModel(std::shared_ptr<MainQueue> mainQueue, std::shared_ptr<Services> services,
                   ModelEnvironment environment)
    : main_(std::move(mainQueue)),
      services_(std::move(services)),
      env_(std::move(environment)),
      categories_(env_.categories),
      selectedID_(Catalog::kOverviewID),
      store_(std::make_shared<SizeStore>()),
      limiter_(std::make_shared<ScanLimiter>(ScanLimiter::kDefaultLimit)) {
    if (!env_.readDisk) env_.readDisk = [] { return std::optional<DiskInfo>{}; };
    for (const CleanCategory& category : categories_) states_[category.id] = CategoryState{};
}

AppModel::~AppModel() {
    // Background work notices through its weak reference; scans still running
    // are asked to stop early rather than walk for nobody.
    for (const auto& [id, task] : scanTasks_) task.cancel();
    if (entriesTask_) entriesTask_->cancel();
}

void AppModel::finishConstruction() {
    recordHistory_ = env_.recordHistory;
    if (!env_.historyFolder.empty()) {
        historyKeeper_ = std::make_shared<HistoryKeeper>(env_.historyFolder, now());
        refreshGrowth();  // reads the files on a worker
    }
    disk_ = env_.readDisk();
    if (env_.readHomeVolume) homeVolume_ = env_.readHomeVolume();
    const std::optional<std::string> initial = services_->initialSelection();
    if (initial && !initial->empty()) {
        main_->postDelayed(kInitialSelectionDelay, [weak = weak_from_this(), id = *initial] {
            if (const auto model = weak.lock()) model->setSelectedID(id);
        });
    }
}

// --- observation ---

int AppModel::subscribe(Observer observer) {
    const int token = nextObserverToken_++;
    observers_.emplace(token, std::move(observer));
    return token;
}

void AppModel::unsubscribe(int token) {
    observers_.erase(token);
}

void AppModel::notify(ModelField field, std::optional<std::string> key,
                      std::optional<std::size_t> row) {
    const ModelChange change{field, std::move(key), row};
    // Copy first: an observer may subscribe or unsubscribe while being told.
    const auto observers = observers_;
    for (const auto& [token, observer] : observers) observer(change);
}

// --- plain fields: an equal value is no change and tells nobody ---

void AppModel::setSelectedID(std::optional<std::string> value) {
    assignIfChanged(selectedID_, std::move(value), ModelField::selectedID);
}

void AppModel::setBrowserPath(std::optional<std::string> value) {
    assignIfChanged(browserPath_, std::move(value), ModelField::browserPath);
}

void AppModel::setEntrySelection(std::set<std::string> value) {
    assignIfChanged(entrySelection_, std::move(value), ModelField::entrySelection);
}

void AppModel::setDisk(std::optional<DiskInfo> value) {
    disk_ = value;
    notify(ModelField::disk);
}

void AppModel::setPendingAction(std::optional<PendingAction> value) {
    pendingAction_ = std::move(value);
    notify(ModelField::pendingAction);
}

void AppModel::setNotice(std::optional<std::string> value) {
    assignIfChanged(notice_, std::move(value), ModelField::notice);
}

void AppModel::setBusyMessage(std::optional<std::string> value) {
    assignIfChanged(busyMessage_, std::move(value), ModelField::busyMessage);
}

void AppModel::setEntriesLoading(bool value) {
    assignIfChanged(entriesLoading_, std::move(value), ModelField::entriesLoading);
}

void AppModel::setEntriesError(std::optional<std::string> value) {
    assignIfChanged(entriesError_, std::move(value), ModelField::entriesError);
}

void AppModel::setEntries(std::vector<Entry> value) {
    assignIfChanged(entries_, std::move(value), ModelField::entries);
}

void AppModel::putState(const std::string& id, CategoryState state) {
    states_[id] = std::move(state);
    notify(ModelField::states, id);
}

void AppModel::refreshDisk() {
    // Both volumes together: a deletion in a separate /home frees space there.
    homeVolume_ = env_.readHomeVolume ? env_.readHomeVolume() : std::nullopt;
    setDisk(env_.readDisk());
}

// --- launch ---

void AppModel::startInitialScan() {
    // Copy: scan() never changes the list, but a copy keeps the loop obviously safe.
    const std::vector<CleanCategory> categories = categories_;
    for (const CleanCategory& category : categories) {
        if (category.scanOnLaunch && category.kind == CategoryKind::folders) scan(category);
    }
}

void AppModel::addLog(const std::string& message, bool error) {
    log_.emplace_back(message, error);
    if (log_.size() > kLogLimit) {
        log_.erase(log_.begin(),
                   log_.begin() + static_cast<std::ptrdiff_t>(log_.size() - kLogLimit));
    }
    notify(ModelField::log);
}

CategoryState AppModel::state(const std::string& id) const {
    const auto it = states_.find(id);
    return it == states_.end() ? CategoryState{} : it->second;
}

std::optional<CleanCategory> AppModel::selectedCategory() const {
    if (!selectedID_ || *selectedID_ == Catalog::kOverviewID) return std::nullopt;
    const auto it = std::find_if(categories_.begin(), categories_.end(),
                                 [&](const CleanCategory& c) { return c.id == *selectedID_; });
    if (it == categories_.end()) return std::nullopt;
    return *it;
}

}  // namespace kelvane
