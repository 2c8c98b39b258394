#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/local_snapshot.h"

namespace kelvane {

// Reading what the snapshot tools print, as pure functions: nothing here runs
// a program. Each reader takes the tool's whole standard output and skips
// what it does not understand, so a newer tool that prints more columns or
// lines loses nothing it already knew.
namespace SnapshotListing {

// `snapper --jsonout list --all-configs --columns
// config,subvolume,number,date,used-space,description`: every snapshot but
// number 0 (the running system, which is no snapshot). Its path is
// SUBVOLUME/.snapshots/N/snapshot.
std::vector<LocalSnapshot> parseSnapper(std::string_view json);

// `timeshift --list`: the rows of its table (number, ">", name, tags,
// description). Names never hold spaces; the description is the rest of the
// row, trimmed.
std::vector<LocalSnapshot> parseTimeshift(std::string_view out);

// One subvolume of `btrfs subvolume list -r -s -q -u MOUNT`.
struct BtrfsSubvolume {
    std::string id;
    std::string otime;
    std::string path;  // from the file system's top level
};
std::vector<BtrfsSubvolume> parseBtrfsList(std::string_view out);

// Whether `name` is a Timeshift snapshot's name (its date:
// 2026-11-24_21-48-29); nothing else is ever handed to Timeshift.
bool isTimeshiftName(std::string_view name);

// `btrfs qgroup show --raw -re MOUNT`: the exclusive bytes of each level-0
// group, by subvolume id ("0/258" gives "258").
std::vector<std::pair<std::string, std::int64_t>> parseQgroups(std::string_view out);

}  // namespace SnapshotListing
}  // namespace kelvane
