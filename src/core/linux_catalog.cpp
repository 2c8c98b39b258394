#include "core/linux_catalog.h"

#include "core/catalog.h"

namespace kelvane {
namespace {

// A row of the table; patterns are filled in from the two bases.
CleanCategory row(const char* id, const char* group, const char* name, const char* icon,
                  const char* detail, Risk risk, std::vector<std::string> patterns,
                  bool quickClean) {
    return {id,   group,     name, icon, detail, risk, CategoryKind::folders, std::move(patterns),
            true, quickClean};
}

}  // namespace

std::vector<CleanCategory> LinuxCatalog::all() {
    return build(Catalog::home(), "");
}

std::vector<CleanCategory> LinuxCatalog::build(const std::string& home,
                                               const std::string& systemRoot) {
    // Plain concatenation, as in the built-in table: each suffix starts with "/".
    const std::string& h = home;
    const std::string& s = systemRoot;
    return {
        row("linux_thumbnails", "キャッシュ", "サムネイルキャッシュ", "photo",
            "ファイルマネージャや画像ビューアが作るサムネイル画像。削除しても必要に応じて再作成"
            "されます。",
            Risk::safe, {h + "/.cache/thumbnails"}, true),
        row("linux_browser_caches", "キャッシュ", "ブラウザのキャッシュ", "globe",
            "Firefox や Chrome などがディスクに保存するキャッシュ。ブラウザを終了してから削除す"
            "ると確実です。",
            Risk::safe,
            {h + "/.cache/mozilla", h + "/.cache/google-chrome", h + "/.cache/chromium",
             h + "/.cache/BraveSoftware", h + "/.cache/microsoft-edge"},
            true),
        row("linux_flatpak_app_caches", "キャッシュ", "Flatpak アプリのキャッシュ", "shippingbox",
            "Flatpak で入れた各アプリのキャッシュ (~/.var/app/*/cache)。アプリを終了してから削"
            "除してください。",
            Risk::safe, {h + "/.var/app/*/cache"}, true),
        row("linux_package_caches", "キャッシュ", "パッケージマネージャのキャッシュ", "archivebox",
            "apt・dnf・pacman などがダウンロードしたパッケージファイル。インストール済みのソフト"
            "には影響しません。削除には管理者パスワードが必要です。",
            Risk::safe,
            {s + "/var/cache/apt/archives", s + "/var/cache/dnf", s + "/var/cache/pacman/pkg",
             s + "/var/cache/zypp/packages"},
            false),
        row("linux_var_tmp", "キャッシュ", "一時ファイル (/var/tmp)", "clock.arrow.circlepath",
            "再起動しても消えない一時ファイル。実行中のアプリやサービスが使っている場合があるの"
            "で、古いものだけを個別に削除してください。",
            Risk::danger, {s + "/var/tmp"}, false),
        row("linux_journal", "ログ", "systemd ジャーナル", "doc.text",
            "systemd が記録するログ。「journalctl --vacuum-time=2weeks」で古いものから減らすの"
            "が安全です。削除には管理者パスワードが必要です。",
            Risk::caution, {s + "/var/log/journal"}, false),
        row("linux_crash", "ログ", "クラッシュダンプ", "exclamationmark.triangle",
            "アプリやシステムが異常終了したときのダンプ。不具合を報告しないなら削除して構いませ"
            "ん。削除には管理者パスワードが必要な場合があります。",
            Risk::safe, {s + "/var/crash", s + "/var/lib/systemd/coredump"}, false),
        row("linux_python", "開発ツール", "Python パッケージキャッシュ", "shippingbox",
            "pip・Poetry・uv・conda がダウンロードしたパッケージ。次回のインストール時に再取得"
            "されます。",
            Risk::safe,
            {h + "/.cache/pip", h + "/.cache/pypoetry", h + "/.cache/uv", h + "/.conda/pkgs",
             h + "/miniconda3/pkgs", h + "/anaconda3/pkgs", h + "/miniforge3/pkgs"},
            true),
        row("linux_ide", "開発ツール", "エディタ / IDE のキャッシュ", "hammer",
            "JetBrains 製 IDE や VS Code のキャッシュとインデックス。IDE を終了してから削除して"
            "ください。次回起動時に再作成されます。",
            Risk::safe,
            {h + "/.cache/JetBrains", h + "/.config/Code/Cache", h + "/.config/Code/CachedData",
             h + "/.config/Code/CachedExtensionVSIXs"},
            false),
        row("linux_toolchains", "開発ツール", "言語ツールチェーン", "wrench.and.screwdriver",
            "rustup・nvm・pyenv・SDKMAN で入れた言語のバージョン。使っていないバージョンだけを"
            "個別に削除してください。",
            Risk::caution,
            {h + "/.rustup/toolchains", h + "/.nvm/versions", h + "/.pyenv/versions",
             h + "/.sdkman/candidates"},
            false),
        row("linux_containers", "開発ツール", "コンテナ (Docker / Podman)", "cylinder.split.1x2",
            "コンテナのイメージ・レイヤー・ボリューム。直接削除すると壊れるため、「docker system "
            "prune」や「podman system prune」で整理してください。",
            Risk::danger, {s + "/var/lib/docker", h + "/.local/share/containers"}, false),
        row("linux_flatpak", "アプリ / ユーザーデータ", "Flatpak アプリとランタイム",
            "square.stack.3d.down.right",
            "Flatpak のアプリとランタイム。直接削除せず、「flatpak uninstall --unused」で使われ"
            "ていないランタイムを削除してください。",
            Risk::danger, {h + "/.local/share/flatpak", s + "/var/lib/flatpak"}, false),
        row("linux_snap", "アプリ / ユーザーデータ", "Snap パッケージ", "square.stack.fill",
            "Snap のパッケージと古いリビジョン。直接削除せず、「snap remove --revision」で古いリ"
            "ビジョンを削除してください。",
            Risk::danger, {s + "/var/lib/snapd/snaps"}, false),
    };
}

}  // namespace kelvane
