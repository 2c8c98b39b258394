#pragma once

#include <QLabel>

#include "core/risk.h"

namespace kelvane {

// The risk of a category as a small coloured capsule: "安全", "注意", "慎重に".
class RiskBadge : public QLabel {
    Q_OBJECT
  public:
    explicit RiskBadge(Risk risk, QWidget* parent = nullptr);

    static QString text(Risk risk);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    Risk risk_;
};

}  // namespace kelvane
