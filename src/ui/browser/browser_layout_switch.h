#pragma once

#include <QWidget>

#include "ui/browser/browser_layout.h"

class QToolButton;

namespace kelvane {

// The two-way switch above the browser: "リスト" or "マップ".
class BrowserLayoutSwitch : public QWidget {
    Q_OBJECT
  public:
    BrowserLayoutSwitch(BrowserLayout layout, QWidget* parent = nullptr);

    QToolButton* listButton() const { return list_; }
    QToolButton* mapButton() const { return map_; }

  signals:
    void chosen(kelvane::BrowserLayout layout);

  private:
    QToolButton* list_;
    QToolButton* map_;
};

}  // namespace kelvane
