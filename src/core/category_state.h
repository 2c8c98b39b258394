#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/date.h"

namespace kelvane {

// The measured state of one category. Deliberately without equality: the model
// replaces states wholesale and observers are told about the map, not a state.
struct CategoryState {
    enum class Status { idle, scanning, done, missing };

    Status status = Status::idle;
    std::int64_t bytes = 0;
    std::int64_t files = 0;
    std::int64_t dirs = 0;
    std::int64_t unreadable = 0;
    std::vector<std::string> roots;
    std::optional<Date> lastScan;
};

}  // namespace kelvane
