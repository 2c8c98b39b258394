#include "core/uuid.h"

#include <cstdio>
#include <cstring>
#include <random>

namespace kelvane {

Uuid Uuid::random() {
    // One generator per thread, seeded from the OS entropy source; records are
    // created on the main thread and on background threads alike.
    thread_local std::mt19937_64 engine{[] {
        std::random_device device;
        std::seed_seq seq{device(), device(), device(), device(), device(), device()};
        return std::mt19937_64{seq};
    }()};
    Uuid u;
    const std::uint64_t hi = engine();
    const std::uint64_t lo = engine();
    std::memcpy(u.bytes.data(), &hi, 8);
    std::memcpy(u.bytes.data() + 8, &lo, 8);
    u.bytes[6] = static_cast<std::uint8_t>((u.bytes[6] & 0x0f) | 0x40);  // version 4
    u.bytes[8] = static_cast<std::uint8_t>((u.bytes[8] & 0x3f) | 0x80);  // RFC 4122 variant
    return u;
}

std::string Uuid::text() const {
    std::string out;
    out.reserve(36);
    char buf[3];
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) out.push_back('-');
        std::snprintf(buf, sizeof buf, "%02x", bytes[i]);
        out.append(buf, 2);
    }
    return out;
}

}  // namespace kelvane

std::size_t std::hash<kelvane::Uuid>::operator()(const kelvane::Uuid& u) const noexcept {
    std::uint64_t hi = 0;
    std::uint64_t lo = 0;
    std::memcpy(&hi, u.bytes.data(), 8);
    std::memcpy(&lo, u.bytes.data() + 8, 8);
    return static_cast<std::size_t>(hi ^ (lo * 0x9e3779b97f4a7c15ULL));
}
