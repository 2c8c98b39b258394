#pragma once

#include <QWidget>
#include <string>

#include "core/sim_runtime.h"

class QPushButton;

namespace kelvane {

// One simulator runtime: platform symbol, "platform version", build, state and
// last use, a bar against the first runtime's size, the size and "削除" —
// disabled for runtimes the tool says cannot be deleted.
class RuntimeRow : public QWidget {
    Q_OBJECT
  public:
    RuntimeRow(SimRuntime runtime, double fraction, QWidget* parent = nullptr);

    // The symbol name for a platform text, whatever its case.
    static std::string platformSymbol(const std::string& platform);
    // The second line: build, state and, when known, the day of last use.
    static QString subtitle(const SimRuntime& runtime);

    const SimRuntime& runtime() const { return runtime_; }
    QPushButton* deleteButton() const { return delete_; }

  signals:
    void deleteRequested(const kelvane::SimRuntime& runtime);

  private:
    SimRuntime runtime_;
    QPushButton* delete_;
};

}  // namespace kelvane
