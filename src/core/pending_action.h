#pragma once

#include <functional>
#include <string>

#include "core/uuid.h"

namespace kelvane {

// A destructive action waiting for the user's confirmation. `perform` runs once,
// on the main thread, only when the user confirms.
struct PendingAction {
    PendingAction(std::string title, std::string message, std::string destructiveLabel,
                  std::function<void()> perform)
        : id(Uuid::random()),
          title(std::move(title)),
          message(std::move(message)),
          destructiveLabel(std::move(destructiveLabel)),
          perform(std::move(perform)) {}

    Uuid id;
    std::string title;
    std::string message;
    std::string destructiveLabel;
    std::function<void()> perform;
};

}  // namespace kelvane
