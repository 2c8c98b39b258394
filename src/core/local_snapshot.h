#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kelvane {

// A snapshot on a local volume that keeps deleted data on the disk: one
// Snapper keeps for a configuration, one Timeshift made, or another
// read-only Btrfs snapshot. What names it for deletion depends on who made
// it, so each kind fills its own fields.
struct LocalSnapshot {
    enum class Maker { snapper, timeshift, btrfs };

    Maker maker = Maker::btrfs;
    std::string config;  // Snapper: the configuration
    std::string number;  // Snapper: the snapshot's number in it
    std::string name;    // Timeshift: the snapshot's name (its date, as Timeshift writes it)
    std::string path;    // the snapshot's folder where it is known (Btrfs: always)
    std::string date;    // as the tool gives it
    std::string description;
    // The bytes only this snapshot holds (Btrfs quota groups); none when
    // the file system cannot tell.
    std::optional<std::int64_t> exclusiveBytes;

    friend bool operator==(const LocalSnapshot&, const LocalSnapshot&) = default;
};

}  // namespace kelvane
