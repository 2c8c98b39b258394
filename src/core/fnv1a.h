#pragma once

#include <cstdint>
#include <string_view>

namespace kelvane {

// The 64-bit FNV-1a hash. Its value is fixed by its definition, unlike std::hash, so it can name
// files and check files written by another run or another build.
constexpr std::uint64_t fnv1a(std::string_view bytes, std::uint64_t hash = 0xcbf29ce484222325) {
    for (const char c : bytes) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 0x100000001b3;
    }
    return hash;
}

}  // namespace kelvane
