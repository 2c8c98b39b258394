#pragma once

#include <functional>
#include <optional>

namespace kelvane {

// How careful the user should be with a category's contents.
enum class Risk : int { safe = 0, caution = 1, danger = 2 };

inline std::optional<Risk> riskFromRaw(long long raw) {
    if (raw < 0 || raw > 2) return std::nullopt;
    return static_cast<Risk>(raw);
}

inline int rawValue(Risk r) {
    return static_cast<int>(r);
}

// `<` is the one primitive; the others are spelled in terms of it so the four
// can never disagree.
inline bool operator<(Risk a, Risk b) {
    return rawValue(a) < rawValue(b);
}
inline bool operator<=(Risk a, Risk b) {
    return !(b < a);
}
inline bool operator>=(Risk a, Risk b) {
    return !(a < b);
}
inline bool operator>(Risk a, Risk b) {
    return b < a;
}

}  // namespace kelvane
