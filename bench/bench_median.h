#pragma once

#include <algorithm>
#include <vector>

namespace kelvane {

// The median of paired rounds, the one figure every bench quotes: the middle
// value, or the mean of the middle two.
template <typename T>
T median(std::vector<T> values) {
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    if (n % 2 == 1) return values[n / 2];
    return (values[n / 2 - 1] + values[n / 2]) / 2;
}

}  // namespace kelvane
