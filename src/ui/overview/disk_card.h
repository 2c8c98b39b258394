#pragma once

#include "ui/components/card.h"

class QLabel;
class QWidget;

namespace kelvane {

class DiskUsageBar;
class ModelBridge;

// "起動ディスク": the startup disk's usage bar, its four figures and "更新",
// and, when the home folder has a volume of its own, that volume's figures
// under "ホーム (<mount point>)". Redraws only when the model's disk changes.
class DiskCard : public Card {
    Q_OBJECT
  public:
    explicit DiskCard(ModelBridge& bridge, QWidget* parent = nullptr);

    // The figure shown under `label` ("使用中", "空き", …; the home volume's
    // as "ホーム 使用中", …); for tests.
    QString figure(const QString& label) const;

  private:
    void refresh();

    ModelBridge& bridge_;
    QLabel* unavailable_;
    QWidget* body_;
    DiskUsageBar* bar_;
    QLabel* used_;
    QLabel* free_;
    QLabel* reserved_;
    QLabel* total_;
    // The home volume's line and figures, shown only when home has its own.
    QWidget* home_;
    QLabel* homeTitle_;
    DiskUsageBar* homeBar_;
    QLabel* homeUsed_;
    QLabel* homeFree_;
    QLabel* homeTotal_;
};

}  // namespace kelvane
