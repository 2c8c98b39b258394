#include "core/date.h"

#include <chrono>

namespace kelvane {

Date Date::now() {
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return Date{std::chrono::duration<double>(since).count()};
}

}  // namespace kelvane
