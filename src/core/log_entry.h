#pragma once

#include <string>

#include "core/date.h"
#include "core/uuid.h"

namespace kelvane {

// One line of the in-memory activity log; stamped with a fresh id and the time
// of creation.
struct LogEntry {
    LogEntry(std::string message, bool isError)
        : id(Uuid::random()), date(Date::now()), message(std::move(message)), isError(isError) {}

    Uuid id;
    Date date;
    std::string message;
    bool isError;
};

}  // namespace kelvane
