#pragma once

#include <cstddef>
#include <functional>
#include <optional>

namespace kelvane {

// Folds one more value into a running hash (the boost recipe, widened to 64 bits).
template <typename T>
void hashCombine(std::size_t& seed, const T& value) {
    seed ^= std::hash<T>{}(value) + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
}

// An optional contributes a presence flag first, then its value when present, so that
// "absent" and "present with a default value" never hash alike by construction.
template <typename T>
void hashCombine(std::size_t& seed, const std::optional<T>& value) {
    hashCombine(seed, value.has_value() ? 1 : 0);
    if (value) hashCombine(seed, *value);
}

}  // namespace kelvane
