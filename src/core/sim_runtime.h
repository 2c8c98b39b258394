#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "core/hash_combine.h"

namespace kelvane {

// One installed simulator runtime as the simulator tool reports it.
struct SimRuntime {
    std::string id;
    std::string name;
    std::string version;
    std::string build;
    std::string platform;
    std::int64_t sizeBytes = 0;
    std::string state;
    bool deletable = false;
    std::optional<std::string> lastUsed;

    friend bool operator==(const SimRuntime&, const SimRuntime&) = default;
};

}  // namespace kelvane

template <>
struct std::hash<kelvane::SimRuntime> {
    std::size_t operator()(const kelvane::SimRuntime& r) const noexcept {
        std::size_t seed = 0;
        kelvane::hashCombine(seed, r.id);
        kelvane::hashCombine(seed, r.name);
        kelvane::hashCombine(seed, r.version);
        kelvane::hashCombine(seed, r.build);
        kelvane::hashCombine(seed, r.platform);
        kelvane::hashCombine(seed, r.sizeBytes);
        kelvane::hashCombine(seed, r.state);
        kelvane::hashCombine(seed, r.deletable);
        kelvane::hashCombine(seed, r.lastUsed);
        return seed;
    }
};
