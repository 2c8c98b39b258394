#pragma once

#include "core/clean_category.h"
#include "ui/screen.h"

namespace kelvane {

class OverviewView : public Screen {
    Q_OBJECT
  public:
    explicit OverviewView(ModelBridge& bridge, QWidget* parent = nullptr);

  private:
};

}  // namespace kelvane
