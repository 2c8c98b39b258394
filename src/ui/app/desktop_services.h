#pragma once

#include <QPointer>
#include <QWidget>

#include "model/services.h"

namespace kelvane {

// The desktop half of the model's services on a Linux desktop: Qt's folder
// chooser, the file manager over D-Bus, QSettings. The tools come from the
// system layer unchanged.
class DesktopServices : public SystemServices {
  public:
    // Dialogs are parented to `window` once it exists.
    void setWindow(QWidget* window) { window_ = window; }

    std::optional<std::string> chooseFolder() override;
    std::optional<std::string> chooseSavedScan() override;
    std::optional<std::string> chooseExportFile(const std::string& suggestedName) override;
    void reveal(const std::vector<std::string>& paths) override;
    std::optional<std::string> initialSelection() override;

  private:
    QPointer<QWidget> window_;
};

}  // namespace kelvane
