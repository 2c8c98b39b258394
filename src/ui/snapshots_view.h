#pragma once

#include "core/clean_category.h"
#include "ui/screen.h"

namespace kelvane {

class SnapshotsView : public Screen {
    Q_OBJECT
  public:
    SnapshotsView(ModelBridge& bridge, CleanCategory category, QWidget* parent = nullptr);

  private:
    CleanCategory category_;
};

}  // namespace kelvane
