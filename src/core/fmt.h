#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/date.h"

namespace kelvane {

// The one place where sizes and dates become text. Both formatters are built
// once, on first use, in the locale `formattingLocale` picks from the
// process's default locale (ICU follows LANG/LC_*).
namespace Fmt {

// The ICU locale sizes and dates are written in when the process's default
// locale is `processLocale`: that locale, except that the C/POSIX locale
// ("en_US_POSIX" to ICU), where no language was chosen, gives Japanese, the
// interface's language, rather than English inside a Japanese window.
std::string formattingLocale(std::string_view processLocale);

// Decimal byte units (1 KB = 1000 B) up to TB, unit always shown, zero as "0".
std::string bytes(std::int64_t count);

// Medium date and short time in the default locale; "" for an absent date.
std::string date(std::optional<Date> when);

}  // namespace Fmt
}  // namespace kelvane
