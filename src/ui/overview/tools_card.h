#pragma once

#include "ui/components/card.h"

namespace kelvane {

class ModelBridge;

// "その他のクリーンアップ": shortcuts to the cleanups that are not a quick
// clean — removing unused runtimes, the runtimes and snapshots
// screens, and the two exploration categories.
class ToolsCard : public Card {
    Q_OBJECT
  public:
    explicit ToolsCard(ModelBridge& bridge, QWidget* parent = nullptr);

  private:
    ModelBridge& bridge_;
};

}  // namespace kelvane
