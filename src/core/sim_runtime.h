#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "core/hash_combine.h"

namespace kelvane {

// One installed runtime the runtimes screen offers to remove: a Flatpak
// runtime of the user's or the system's installation, or a disabled (kept
// for reverting) revision of a Snap package.
struct SimRuntime {
    // What the removing tool is given: a Flatpak ref
    // ("runtime/org.gnome.Platform/x86_64/46"), or a Snap package's name.
    std::string id;
    // The title the screen and the messages show ("org.gnome.Platform 46",
    // "core22 20240111 (リビジョン 1122)").
    std::string name;
    // Flatpak: the branch; Snap: the version text.
    std::string version;
    // Flatpak: the architecture; Snap: the revision removed with --revision.
    std::string build;
    // "Flatpak" or "Snap".
    std::string platform;
    std::int64_t sizeBytes = 0;
    // Flatpak: "user" or "system" (the installation the ref lives in);
    // empty for Snap, whose revisions belong to the system.
    std::string installation;
    // The ids of the installed apps that run on this runtime, sorted.
    std::vector<std::string> usedBy;
    // False while an app needs it: Flatpak refuses to remove it then.
    bool deletable = false;

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
        kelvane::hashCombine(seed, r.installation);
        // The count first, so moving a name between neighbours changes the hash.
        kelvane::hashCombine(seed, r.usedBy.size());
        for (const std::string& app : r.usedBy) kelvane::hashCombine(seed, app);
        kelvane::hashCombine(seed, r.deletable);
        return seed;
    }
};
