// AppModel: the two tool-backed categories (local snapshots, simulator
// runtimes) and the removal of unavailable simulators.
#include "core/fmt.h"
#include "core/unicode_text.h"
#include "model/app_model.h"

namespace kelvane {
namespace {

constexpr const char* kXcrun = "/usr/bin/xcrun";

// `lead` followed by what the tool said: its output and error text, trimmed
// as a whole. A tool that could not be started has our own description of
// why in `err`, so the same text carries that too.
std::string failureText(const std::string& lead, const ShellResult& result) {
    return lead + UnicodeText::trimmed(result.out + "\n" + result.err);
}

}  // namespace

void AppModel::loadSnapshots() {
    snapshotsLoading_ = true;
    notify(ModelField::snapshotsLoading);
    runTool<std::vector<std::string>>([](Services& services) { return services.listSnapshots(); },
                                      [](AppModel& model, const std::vector<std::string>& list) {
                                          model.snapshots_ = list;
                                          model.notify(ModelField::snapshots);
                                          model.snapshotsLoading_ = false;
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

void AppModel::confirmDeleteSnapshots(const std::vector<std::string>& dates) {
    if (dates.empty()) return;
    std::string list;
    for (std::size_t i = 0; i < dates.size(); ++i) list += (i > 0 ? "\n" : "") + dates[i];
    const std::string n = std::to_string(dates.size());
    setPendingAction(PendingAction(
        "ローカルスナップショット " + n + " 件を削除しますか？",
        "管理者パスワードの入力が求められます。Time Machine "
        "の外部バックアップには影響しません。\n\n" +
            list,
        "削除", [weak = weak_from_this(), dates, n] {
            const auto model = weak.lock();
            if (!model) return;
            model->setBusyMessage(std::string("スナップショットを削除中…"));
            model->runTool<ShellResult>(
                [dates](Services& services) { return services.deleteSnapshots(dates); },
                [n](AppModel& m, const ShellResult& result) {
                    m.setBusyMessage(std::nullopt);
                    if (result.status == 0) {
                        m.addLog("ローカルスナップショット " + n + " 件を削除", false);
                        m.setNotice(std::string(
                            "削除しました。容量への反映には少し時間がかかることがあります。"));
                    } else if (result.err.find("-128") == std::string::npos) {
                        m.setNotice(failureText("削除に失敗しました:\n", result));
                    }
                    m.loadSnapshots();
                    m.refreshDisk();
                });
        }));
}

void AppModel::confirmDeleteRuntime(const SimRuntime& runtime) {
    setPendingAction(
        PendingAction(runtime.name + " を削除しますか？",
                      Fmt::bytes(runtime.sizeBytes) +
                          " を解放します。再度使う場合は Xcode から再ダウンロードが必要です。",
                      "削除", [weak = weak_from_this(), runtime] {
                          const auto model = weak.lock();
                          if (!model) return;
                          model->setBusyMessage(std::string("ランタイムを削除中…"));
                          model->runTool<ShellResult>(
                              [id = runtime.id](Services& services) {
                                  return services.run(kXcrun, {"simctl", "runtime", "delete", id});
                              },
                              [runtime](AppModel& m, const ShellResult& result) {
                                  m.setBusyMessage(std::nullopt);
                                  if (result.status == 0) {
                                      m.addLog("ランタイム " + runtime.name + " を削除 (" +
                                                   Fmt::bytes(runtime.sizeBytes) + ")",
                                               false);
                                      m.setNotice(runtime.name + " を削除しました。");
                                  } else {
                                      m.setNotice(failureText("削除に失敗しました:\n", result));
                                  }
                                  m.loadRuntimes();
                                  m.refreshDisk();
                              });
                      }));
}

void AppModel::confirmDeleteUnavailableSims() {
    setPendingAction(PendingAction(
        "使用不可のシミュレータを削除しますか？",
        "対応するランタイムが無くなった古いシミュレータデバイスを削除します (xcrun simctl delete "
        "unavailable)。",
        "削除", [weak = weak_from_this()] {
            const auto model = weak.lock();
            if (!model) return;
            model->setBusyMessage(std::string("シミュレータを整理中…"));
            model->runTool<ShellResult>(
                [](Services& services) {
                    return services.run(kXcrun, {"simctl", "delete", "unavailable"});
                },
                [](AppModel& m, const ShellResult& result) {
                    m.setBusyMessage(std::nullopt);
                    if (result.status == 0) {
                        m.addLog("使用不可のシミュレータを削除", false);
                        m.setNotice(std::string("使用不可のシミュレータを削除しました。"));
                    } else {
                        m.setNotice(
                            failureText("失敗しました:\n", result));
                    }
                    m.scanIfPresent("sim_devices");
                    m.refreshDisk();
                });
        }));
}

}  // namespace kelvane
