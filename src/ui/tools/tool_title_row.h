#pragma once

#include <QWidget>

#include "core/clean_category.h"

namespace kelvane {

// The title line of the snapshots and runtimes screens: the category's
// symbol in its risk colour, its name and its risk badge.
class ToolTitleRow : public QWidget {
    Q_OBJECT
  public:
    explicit ToolTitleRow(const CleanCategory& category, QWidget* parent = nullptr);
};

}  // namespace kelvane
