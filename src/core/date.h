#pragma once

#include <compare>
#include <cstddef>
#include <functional>

namespace kelvane {

// A point in time as seconds since 1970-01-01 UTC, held as a double so that
// sub-second modification times survive and values compare exactly.
struct Date {
    double seconds = 0;

    static Date now();
    static Date fromTimespec(long long sec, long long nsec) {
        return Date{static_cast<double>(sec) + static_cast<double>(nsec) / 1e9};
    }

    friend auto operator<=>(const Date&, const Date&) = default;
};

}  // namespace kelvane

template <>
struct std::hash<kelvane::Date> {
    std::size_t operator()(const kelvane::Date& d) const noexcept {
        return std::hash<double>{}(d.seconds);
    }
};
