#pragma once

#include <QWidget>
#include <string>

#include "core/sim_runtime.h"

class QLabel;
class QPushButton;

namespace kelvane {

// One Flatpak runtime or disabled Snap revision: the tool's symbol, the title,
// where it is installed, the apps that use it, a bar against the first row's
// size, the size and "削除" — disabled, with the reason, while an app needs it.
class RuntimeRow : public QWidget {
    Q_OBJECT
  public:
    RuntimeRow(SimRuntime runtime, double fraction, QWidget* parent = nullptr);

    // The symbol name for a platform text, whatever its case.
    static std::string platformSymbol(const std::string& platform);
    // The second line: the tool, its installation and the architecture.
    static QString subtitle(const SimRuntime& runtime);
    // The third line: the apps using it, or that none does.
    static QString usage(const SimRuntime& runtime);

    const SimRuntime& runtime() const { return runtime_; }
    QPushButton* deleteButton() const { return delete_; }
    QLabel* usageLabel() const { return usage_; }

  signals:
    void deleteRequested(const kelvane::SimRuntime& runtime);

  private:
    SimRuntime runtime_;
    QLabel* usage_;
    QPushButton* delete_;
};

}  // namespace kelvane
