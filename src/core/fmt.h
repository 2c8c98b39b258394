#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/date.h"

namespace kelvane {

// The one place where sizes and dates become text. Both formatters are built
// once, on first use, in the process's default locale (ICU follows LANG/LC_*).
namespace Fmt {

// Decimal byte units (1 KB = 1000 B) up to TB, unit always shown, zero as "0".
std::string bytes(std::int64_t count);

// Medium date and short time in the default locale; "" for an absent date.
std::string date(std::optional<Date> when);

}  // namespace Fmt
}  // namespace kelvane
