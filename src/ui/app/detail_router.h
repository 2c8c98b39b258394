#pragma once

#include <QString>
#include <QWidget>

#include "ui/browser/browser_layout.h"

namespace kelvane {

class ModelBridge;
class Screen;

// Fills the detail area with the screen for the current selection: the
// overview, a folder category's browser (a fresh one per category), or one of
// the two tool screens.
class DetailRouter : public QWidget {
    Q_OBJECT
  public:
    explicit DetailRouter(ModelBridge& bridge, QWidget* parent = nullptr);

    Screen* current() const { return current_; }
    // Identifies what is shown: "overview", "folders:ID", "snapshots:ID" or "runtimes:ID".
    const QString& currentKey() const { return key_; }

  signals:
    void screenChanged(kelvane::Screen* screen);

  private:
    void route();

    ModelBridge& bridge_;
    Screen* current_ = nullptr;
    // List or map, kept across the category screens for as long as the window lives.
    BrowserLayout browserLayout_ = BrowserLayout::list;
    QString key_;
};

}  // namespace kelvane
