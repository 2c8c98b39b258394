#include "core/catalog_on_linux.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include "core/catalog.h"
#include "core/home_trash.h"
#include "core/linux_catalog.h"
#include "core/path_text.h"

namespace kelvane {
namespace {

// Rows whose folders (under ~/Library, /Library, /Applications) and tools
// (Xcode, simulators, CocoaPods, Mail, Messages, iPhone backups) exist only on
// the other platform. ~/Library/Caches is the user cache there; on Linux that
// is ~/.cache, which the "dot_cache" row already measures, so "user_caches"
// is listed here rather than measuring the same folder under two names.
// "app_support" would be ~/.local/share, which the exploration row measures.
// Homebrew does run on Linux; its cache is then ~/.cache/Homebrew, shown when
// it is there.
constexpr std::array<std::string_view, 20> kOnlyWhenPresent{
    "user_caches",    "container_caches", "user_logs",   "derived_data", "device_support",
    "xcode_archives", "xcode_previews",   "xcode_misc",  "sim_devices",  "sim_caches",
    "homebrew",       "cocoapods",        "app_support", "containers",   "group_containers",
    "mail",           "messages",         "ios_backups", "ios_updates",  "applications"};

// Keeps the patterns that do not lie below the other platform's home library.
std::vector<std::string> withoutLibrary(const std::vector<std::string>& patterns,
                                        const std::string& home) {
    std::vector<std::string> kept;
    for (const std::string& p : patterns) {
        if (!PathText::isSameOrBelow(p, home + "/Library")) kept.push_back(p);
    }
    return kept;
}

std::string findTemporaryFolder() {
    const char* env = std::getenv("TMPDIR");
    std::string folder = env != nullptr && env[0] == '/' ? env : "/tmp";
    while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
    return folder;
}

}  // namespace

bool CatalogOnLinux::onlyWhenPresent(const CleanCategory& category) {
    return std::find(kOnlyWhenPresent.begin(), kOnlyWhenPresent.end(), category.id) !=
           kOnlyWhenPresent.end();
}

std::vector<CleanCategory> CatalogOnLinux::adapt(std::vector<CleanCategory> rows,
                                                 const Places& places) {
    const std::string& h = places.home;
    const std::string& s = places.systemRoot;
    const std::string temp = PathText::shortForm(places.tempFolder, h);
    const std::string data = PathText::shortForm(places.dataHome, h);
    for (CleanCategory& row : rows) {
        const std::string& id = row.id;
        if (id == "system_caches") {
            // Debian keeps debconf's answers in /var/cache/debconf and services
            // keep caches they need while running: only item by item.
            row.name = "システムキャッシュ (/var/cache)";
            row.detail =
                "/var/cache。debconf の設定など消すと困るものも含まれるため、個別に削除してくださ"
                "い。削除には管理者パスワードが必要な場合があります。";
            row.risk = Risk::danger;
            row.patterns = {s + "/var/cache"};
        } else if (id == "temp") {
            // Shared by every user and holding the session's sockets
            // (.X11-unix, .ICE-unix): never emptied as a whole.
            row.name = "一時ファイル (" + temp + ")";
            row.detail =
                "すべてのユーザーが共有する一時領域。実行中のアプリやデスクトップが使うファイルが"
                "あるので、古いものだけを個別に削除してください。";
            row.risk = Risk::danger;
            row.patterns = {places.tempFolder};
        } else if (id == "system_logs") {
            row.name = "システムログ (/var/log)";
            row.detail =
                "システムとサービスのログ。サービスのログフォルダを丸ごと消すと動かなくなるサービス"
                "があるため、古いログファイル (.gz や .1 など) を個別に削除してください。削除には管"
                "理者パスワードが必要な場合があります。";
            row.risk = Risk::danger;
            row.patterns = {s + "/var/log"};
        } else if (id == "sim_runtimes") {
            row.group = "システム";
            row.name = "Flatpak / Snap ランタイム";
            row.detail =
                "インストール済みの Flatpak ランタイムと Snap の古いリビジョン (1 つ数百 MB〜数 "
                "GB)。使われていないものを個別に削除できます。";
        } else if (id == "homebrew") {
            row.detail = "ダウンロード済みの bottle 等 (~/.cache の一部)。";
            row.patterns = {h + "/.cache/Homebrew"};
        } else if (id == "node_caches") {
            // pnpm's store follows XDG_DATA_HOME on Linux.
            row.patterns = withoutLibrary(row.patterns, h);
            row.patterns.insert(row.patterns.begin() + 2, places.dataHome + "/pnpm/store");
        } else if (id == "docker") {
            row.patterns = withoutLibrary(row.patterns, h);
        } else if (id == "android") {
            row.patterns = withoutLibrary(row.patterns, h);
            row.patterns.push_back(h + "/Android/Sdk");
        } else if (id == "snapshots") {
            row.name = "スナップショット (Snapper / Timeshift)";
            row.detail =
                "Snapper や Timeshift が起動ディスクに保持するスナップショット。削除したファイルの"
                "容量は、それを含むスナップショットが無くなるまで解放されません。";
        } else if (id == "explore_lib") {
            row.name = data + " 全体";
            row.detail = "アプリのユーザーデータ (" + data +
                         ") を大きい順に探索。上のカテゴリに無い容量の正体を探すのに。";
            row.patterns = {places.dataHome};
        } else if (id == "explore_syslib") {
            row.name = "/var 全体";
            row.detail = "システムの可変データ (ログ・キャッシュ・パッケージ等) を大きい順に探索。";
            row.patterns = {s + "/var"};
        }
    }
    return rows;
}

CatalogOnLinux::Places CatalogOnLinux::real() {
    const std::string& home = Catalog::home();
    return {home, "", findTemporaryFolder(),
            PathText::parent(HomeTrash::folderFor(home, std::getenv("XDG_DATA_HOME")))};
}

std::vector<CleanCategory> CatalogOnLinux::all() {
    std::vector<CleanCategory> rows = adapt(Catalog::all(), real());
    for (CleanCategory& row : LinuxCatalog::all()) rows.push_back(std::move(row));
    return rows;
}

}  // namespace kelvane
