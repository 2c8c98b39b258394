#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <string>

namespace kelvane {

// A random (version 4) 128-bit identifier.
struct Uuid {
    std::array<std::uint8_t, 16> bytes{};

    static Uuid random();
    std::string text() const;  // 8-4-4-4-12 lowercase hex

    friend auto operator<=>(const Uuid&, const Uuid&) = default;
};

}  // namespace kelvane

template <>
struct std::hash<kelvane::Uuid> {
    std::size_t operator()(const kelvane::Uuid& u) const noexcept;
};
