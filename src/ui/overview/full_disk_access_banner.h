#pragma once

#include <QFrame>

namespace kelvane {

class ModelBridge;

// The warning shown while the full-disk-access probe finds protected folders
// unreadable, with buttons to open the settings and to probe again.
class FullDiskAccessBanner : public QFrame {
    Q_OBJECT
  public:
    explicit FullDiskAccessBanner(ModelBridge& bridge, QWidget* parent = nullptr);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    ModelBridge& bridge_;
};

}  // namespace kelvane
