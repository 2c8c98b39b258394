// AppModel: the two tool-backed categories (local snapshots, the Flatpak
// runtimes and disabled Snap revisions) and the removal of the runtimes no
// app uses.
#include "core/fmt.h"
#include "core/unicode_text.h"
#include "model/app_model.h"
#include "system/flatpak_tools.h"
#include "system/snap_tools.h"

namespace kelvane {
namespace {

// The catalog rows that measure the folders the two tools install into.
constexpr const char* kFlatpakCategory = "linux_flatpak";
constexpr const char* kSnapCategory = "linux_snap";

// `lead` followed by what the tool said: its output and error text, trimmed
// as a whole. A tool that could not be started has our own description of
// why in `err`, so the same text carries that too.
std::string failureText(const std::string& lead, const ShellResult& result) {
    return lead + UnicodeText::trimmed(result.out + "\n" + result.err);
}

constexpr const char* kNoElevation =
    "管理者権限で実行するには pkexec が必要です。pkexec をインストールしてから、もう一度お試しくだ"
    "さい。";
// The refs `flatpak uninstall --unused` kept because they are pinned, which
// it does for every runtime installed on its own, each with its installation
// (the same ref may be pinned in both): the user would otherwise wonder why
// an unused runtime is still listed.
std::string pinnedNote(const std::vector<std::string>& pinned) {
    if (pinned.empty()) return "";
    std::string note =
        "\n\n次のランタイムは自分でインストールしたものとして Flatpak が固定しているため、"
        "残しました (ランタイムの一覧から個別に削除できます):";
    for (const std::string& ref : pinned) note += "\n" + ref;
    return note;
}

// How the two installations are called on the screen and in the messages.
std::string installationName(const std::string& installation) {
    if (installation == "user") return "ユーザー";
    if (installation == "system") return "システム";
    return installation;
}

// A runtime's name in the confirmation, the log and the notice. The same
// Flatpak runtime may be installed for the user and for the system, so the
// installation is named with it.
std::string shownName(const SimRuntime& runtime) {
    if (runtime.installation.empty()) return runtime.name;
    return runtime.name + " (" + installationName(runtime.installation) + ")";
}

}  // namespace

std::string AppModel::snapshotLabel(const LocalSnapshot& snapshot) {
    std::string label = snapshot.date.empty() ? snapshot.path : snapshot.date;
    switch (snapshot.maker) {
        case LocalSnapshot::Maker::snapper:
            label += "  Snapper (" + snapshot.config + " #" + snapshot.number + ")";
            break;
        case LocalSnapshot::Maker::timeshift:
            label += "  Timeshift";
            break;
        case LocalSnapshot::Maker::btrfs:
            label += "  Btrfs " + snapshot.path;
            break;
    }
    if (!snapshot.description.empty()) label += "  " + snapshot.description;
    return label;
}

void AppModel::loadSnapshots() {
    snapshotsLoading_ = true;
    notify(ModelField::snapshotsLoading);
    runTool<SnapshotTools::Listing>([](Services& services) { return services.listSnapshots(); },
                                    [](AppModel& model, const SnapshotTools::Listing& listing) {
                                        model.snapshots_ = listing.snapshots;
                                        model.snapshotsNeedAdministrator_ =
                                            listing.needsAdministrator;
                                        model.notify(ModelField::snapshots);
                                        model.snapshotsLoading_ = false;
                                        model.notify(ModelField::snapshotsLoading);
                                    });
}

void AppModel::loadSnapshotsAsAdmin() {
    snapshotsLoading_ = true;
    notify(ModelField::snapshotsLoading);
    runTool<SnapshotTools::AdminListing>(
        [](Services& services) { return services.listSnapshotsAsAdmin(); },
        [](AppModel& model, const SnapshotTools::AdminListing& listing) {
            model.snapshotsLoading_ = false;
            if (listing.run.status == 0) {
                model.snapshots_ = listing.snapshots;
                model.snapshotsNeedAdministrator_ = false;
                model.notify(ModelField::snapshots);
            } else if (listing.elevationMissing) {
                model.setNotice(std::string(kNoElevation));
            } else if (listing.run.err.find("-128") == std::string::npos) {
                model.setNotice(failureText("一覧を取得できませんでした:\n", listing.run));
            }
            model.notify(ModelField::snapshotsLoading);
        });
}

void AppModel::loadRuntimes() {
    runtimesLoading_ = true;
    notify(ModelField::runtimesLoading);
    runTool<std::vector<SimRuntime>>([](Services& services) { return services.listRuntimes(); },
                                     [](AppModel& model, const std::vector<SimRuntime>& list) {
                                         model.runtimes_ = list;
                                         model.notify(ModelField::runtimes);
                                         model.runtimesLoading_ = false;
                                         model.notify(ModelField::runtimesLoading);
                                     });
}

void AppModel::confirmDeleteSnapshots(const std::vector<LocalSnapshot>& snapshots) {
    if (snapshots.empty()) return;
    std::string list;
    for (std::size_t i = 0; i < snapshots.size(); ++i) {
        list += (i > 0 ? "\n" : "") + snapshotLabel(snapshots[i]);
    }
    const std::string n = std::to_string(snapshots.size());
    setPendingAction(PendingAction(
        "ローカルスナップショット " + n + " 件を削除しますか？",
        "管理者パスワードの入力が求められます。外部ディスクへのバックアップには影響しません。\n\n" +
            list,
        "削除", [weak = weak_from_this(), snapshots] {
            const auto model = weak.lock();
            if (!model) return;
            model->setBusyMessage(std::string("スナップショットを削除中…"));
            model->runTool<SnapshotTools::Deletion>(
                [snapshots](Services& services) { return services.deleteSnapshots(snapshots); },
                [snapshots](AppModel& m, const SnapshotTools::Deletion& result) {
                    m.afterSnapshotDeletion(snapshots, result);
                });
        }));
}

void AppModel::afterSnapshotDeletion(const std::vector<LocalSnapshot>& snapshots,
                                     const SnapshotTools::Deletion& result) {
    setBusyMessage(std::nullopt);
    std::size_t deleted = 0;
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < snapshots.size() && i < result.errors.size(); ++i) {
        if (!result.errors[i]) {
            ++deleted;
        } else {
            lines.push_back("・" + snapshotLabel(snapshots[i]) + ": " + *result.errors[i]);
        }
    }
    const bool dismissed = deleted == 0 && result.run.err.find("-128") != std::string::npos;
    if (deleted > 0) {
        addLog("ローカルスナップショット " + std::to_string(deleted) + " 件を削除", false);
    }
    if (result.elevationMissing) {
        setNotice(std::string(kNoElevation));
    } else if (dismissed) {
        // A dismissed password dialog needs no words.
    } else if (deleted == snapshots.size()) {
        setNotice(std::string("削除しました。容量への反映には少し時間がかかることがあります。"));
    } else {
        std::string text;
        for (std::size_t i = 0; i < lines.size(); ++i) text += (i > 0 ? "\n" : "") + lines[i];
        // Without a word from the helper about any snapshot, what it said is all there is.
        if (deleted == 0 && result.run.status != 0 && result.run.status != 1) {
            text = UnicodeText::trimmed(result.run.out + "\n" + result.run.err);
        }
        setNotice("削除に失敗しました:\n" + text);
    }
    // The helper listed again after deleting: no second password prompt.
    if (result.after) {
        snapshots_ = *result.after;
        snapshotsNeedAdministrator_ = false;
        notify(ModelField::snapshots);
    } else {
        loadSnapshots();
    }
    refreshDisk();
}

void AppModel::confirmDeleteRuntime(const SimRuntime& runtime) {
    const bool snap = runtime.platform == SnapTools::platformName;
    setPendingAction(PendingAction(
        shownName(runtime) + " を削除しますか？",
        Fmt::bytes(runtime.sizeBytes) + " を解放します。再度使う場合は " +
            (snap ? "Snap" : "Flatpak") + " から再インストールが必要です。",
        "削除", [weak = weak_from_this(), runtime, snap] {
            const auto model = weak.lock();
            if (!model) return;
            model->setBusyMessage(std::string("ランタイムを削除中…"));
            const ToolCommand command =
                snap ? SnapTools::removeCommand(runtime) : FlatpakTools::uninstallCommand(runtime);
            model->runTool<ShellResult>(
                [command](Services& services) {
                    return services.run(command.executable, command.arguments);
                },
                [runtime, snap](AppModel& m, const ShellResult& result) {
                    m.setBusyMessage(std::nullopt);
                    if (result.status == 0) {
                        m.addLog("ランタイム " + shownName(runtime) + " を削除 (" +
                                     Fmt::bytes(runtime.sizeBytes) + ")",
                                 false);
                        m.setNotice(shownName(runtime) + " を削除しました。");
                    } else {
                        m.setNotice(failureText("削除に失敗しました:\n", result));
                    }
                    m.loadRuntimes();
                    // The row measuring the tool's folders shrank too.
                    m.scanIfPresent(snap ? kSnapCategory : kFlatpakCategory);
                    m.refreshDisk();
                });
        }));
}

void AppModel::confirmDeleteUnavailableSims() {
    setPendingAction(PendingAction(
        "使用されていないランタイムを削除しますか？",
        "どのアプリも使用していない Flatpak ランタイムを、ユーザーとシステムの両方から削除します "
        "(flatpak uninstall --unused)。自分でインストールしたランタイムは Flatpak "
        "が固定しているため残ります。それらはランタイムの一覧から個別に削除できます。",
        "削除", [weak = weak_from_this()] {
            const auto model = weak.lock();
            if (!model) return;
            model->setBusyMessage(std::string("ランタイムを整理中…"));
            // Each run with the installation it is for ("--user", "--system").
            using Runs = std::vector<std::pair<std::string, ShellResult>>;
            model->runTool<Runs>(
                [](Services& services) {
                    // Each installation on its own: a refusal in one (the
                    // system's asks for the administrator) leaves the other done.
                    Runs runs;
                    for (const ToolCommand& command : FlatpakTools::uninstallUnusedCommands()) {
                        runs.emplace_back(command.arguments.back().substr(2),
                                          services.run(command.executable, command.arguments));
                    }
                    return runs;
                },
                [](AppModel& m, const Runs& runs) {
                    m.setBusyMessage(std::nullopt);
                    bool ok = true;
                    std::string failed;
                    std::vector<std::string> pinned;
                    for (const auto& [installation, result] : runs) {
                        if (result.status != 0) {
                            failed += (ok ? "" : "\n") + failureText("", result);
                            ok = false;
                        }
                        for (const std::string& ref : FlatpakTools::parsePinned(result.out)) {
                            pinned.push_back(ref + " (" + installationName(installation) + ")");
                        }
                    }
                    if (ok) {
                        m.addLog("使用されていないランタイムを削除", false);
                        m.setNotice("使用されていないランタイムを削除しました。" +
                                    pinnedNote(pinned));
                    } else {
                        m.setNotice("失敗しました:\n" + failed);
                    }
                    m.loadRuntimes();
                    m.scanIfPresent(kFlatpakCategory);
                    m.refreshDisk();
                });
        }));
}

}  // namespace kelvane
