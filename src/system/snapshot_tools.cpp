#include "system/snapshot_tools.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <variant>

#include "core/unicode_text.h"
#include "system/admin_helper.h"
#include "system/btrfs_snapshot.h"
#include "system/mount_table.h"
#include "system/shell.h"
#include "system/snapshot_listing.h"

namespace kelvane {
namespace {

using Json = nlohmann::json;
using Maker = LocalSnapshot::Maker;

const std::vector<std::string> kSnapperList = {
    "--utc",         "--jsonout", "list",
    "--all-configs", "--columns", "config,subvolume,number,date,used-space,description"};

bool executable(const std::string& path) {
    return ::access(path.c_str(), X_OK) == 0;
}

bool hasEntries(const std::string& folder) {
    const std::unique_ptr<DIR, int (*)(DIR*)> dir(::opendir(folder.c_str()), ::closedir);
    if (!dir) return false;
    while (const dirent* entry = ::readdir(dir.get())) {
        if (entry->d_name[0] != '.') return true;
    }
    return false;
}

std::vector<MountTable::Mount> btrfsMounts() {
    auto table = MountTable::mounts();
    std::vector<MountTable::Mount> found;
    if (auto* mounts = std::get_if<std::vector<MountTable::Mount>>(&table)) {
        for (MountTable::Mount& m : *mounts) {
            if (m.type == "btrfs") found.push_back(std::move(m));
        }
    }
    return found;
}

// Where the subvolume `fromTop` (a path from its file system's top level)
// of the volume `source` can be reached: through a mount of that volume
// whose mounted folder holds it. Empty when no mount reaches it.
std::string reachable(const std::vector<MountTable::Mount>& mounts, const std::string& source,
                      const std::string& fromTop) {
    const std::string absolute = "/" + fromTop;
    for (const MountTable::Mount& m : mounts) {
        if (m.source != source) continue;
        if (m.root == "/") return (m.point == "/" ? "" : m.point) + absolute;
        if (absolute.starts_with(m.root + "/")) {
            return (m.point == "/" ? "" : m.point) + absolute.substr(m.root.size());
        }
    }
    return {};
}

std::string toolText(const ShellResult& result) {
    return UnicodeText::trimmed(result.out + "\n" + result.err);
}

const char* makerName(Maker maker) {
    switch (maker) {
        case Maker::snapper:
            return "snapper";
        case Maker::timeshift:
            return "timeshift";
        case Maker::btrfs:
            return "btrfs";
    }
    return "btrfs";
}

}  // namespace

SnapshotTools::Listing SnapshotTools::list(const Programs& programs) {
    Listing listing;
    // Snapper's service answers users its configurations allow.
    bool snapperListed = false;
    if (executable(programs.snapper)) {
        const ShellResult result = Shell::run(programs.snapper, kSnapperList);
        if (result.status == 0) {
            listing.snapshots = SnapshotListing::parseSnapper(result.out);
            snapperListed = true;
        }
    }
    // Everything else takes root: the Btrfs volumes' subvolume lists and
    // quota groups, Timeshift, Snapper without its service.
    listing.needsAdministrator =
        !btrfsMounts().empty() ||
        (executable(programs.timeshift) && ::access(programs.timeshiftConfig.c_str(), F_OK) == 0) ||
        (!snapperListed && executable(programs.snapper) && hasEntries(programs.snapperConfigs));
    return listing;
}

std::vector<LocalSnapshot> SnapshotTools::listAsRoot(const Programs& programs) {
    std::vector<LocalSnapshot> found;
    if (executable(programs.snapper)) {
        std::vector<std::string> args = {"--no-dbus"};
        args.insert(args.end(), kSnapperList.begin(), kSnapperList.end());
        found = SnapshotListing::parseSnapper(Shell::run(programs.snapper, args).out);
    }
    std::map<std::string, std::size_t> timeshiftByName;
    if (executable(programs.timeshift) && ::access(programs.timeshiftConfig.c_str(), F_OK) == 0) {
        for (LocalSnapshot& s : SnapshotListing::parseTimeshift(
                 Shell::run(programs.timeshift, {"--list", "--scripted"}).out)) {
            timeshiftByName[s.name] = found.size();
            found.push_back(std::move(s));
        }
    }
    if (!executable(programs.btrfs)) return found;
    std::map<std::string, std::size_t> byPath;
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (!found[i].path.empty()) byPath[found[i].path] = i;
    }
    const std::vector<MountTable::Mount> mounts = btrfsMounts();
    std::set<std::string> volumes;
    for (const MountTable::Mount& volume : mounts) {
        if (!volumes.insert(volume.source).second) continue;  // one listing per volume
        const auto subvolumes = SnapshotListing::parseBtrfsList(
            Shell::run(programs.btrfs, {"subvolume", "list", "-r", "-s", "-q", "-u", volume.point})
                .out);
        std::map<std::string, std::int64_t> exclusive;
        for (const auto& [id, bytes] : SnapshotListing::parseQgroups(
                 Shell::run(programs.btrfs, {"qgroup", "show", "--raw", "-re", volume.point})
                     .out)) {
            exclusive[id] = bytes;
        }
        for (const SnapshotListing::BtrfsSubvolume& subvolume : subvolumes) {
            const auto bytes = exclusive.find(subvolume.id);
            const std::optional<std::int64_t> size =
                bytes == exclusive.end() ? std::nullopt : std::optional(bytes->second);
            // Timeshift keeps its Btrfs snapshots as NAME/@, NAME/@home, ...:
            // their sizes add up to the Timeshift snapshot's.
            const std::string marker = "timeshift-btrfs/snapshots/";
            if (const auto at = subvolume.path.find(marker); at != std::string::npos) {
                const std::string rest = subvolume.path.substr(at + marker.size());
                const auto known = timeshiftByName.find(rest.substr(0, rest.find('/')));
                if (known != timeshiftByName.end() && size) {
                    LocalSnapshot& s = found[known->second];
                    s.exclusiveBytes = s.exclusiveBytes.value_or(0) + *size;
                }
                continue;
            }
            const std::string path = reachable(mounts, volume.source, subvolume.path);
            if (path.empty()) continue;  // not reachable, so not deletable by path either
            if (const auto known = byPath.find(path); known != byPath.end()) {
                LocalSnapshot& s = found[known->second];
                if (!s.exclusiveBytes) s.exclusiveBytes = size;
                continue;
            }
            LocalSnapshot s;
            s.maker = Maker::btrfs;
            s.path = path;
            s.date = subvolume.otime;
            s.exclusiveBytes = size;
            byPath[path] = found.size();
            found.push_back(std::move(s));
        }
    }
    return found;
}

namespace {

// The configurations Snapper knows, read once per batch.
std::set<std::string> snapperConfigs(const std::string& snapper) {
    const ShellResult configs = Shell::run(snapper, {"--no-dbus", "--csvout", "list-configs"});
    std::set<std::string> names;
    for (std::size_t at = 0; at < configs.out.size();) {
        const std::size_t end = std::min(configs.out.find('\n', at), configs.out.size());
        const std::string line = configs.out.substr(at, end - at);
        names.insert(line.substr(0, line.find(',')));
        at = end + 1;
    }
    return names;
}

std::optional<std::string> deleteOne(const LocalSnapshot& snapshot, DeletionRules::Locator& locator,
                                     const SnapshotTools::Programs& programs,
                                     const std::set<std::string>& configs) {
    switch (snapshot.maker) {
        case Maker::snapper: {
            // Only a number of a configuration Snapper knows; never 0, the
            // running system (which Snapper refuses, yet reports success).
            const bool number =
                !snapshot.number.empty() &&
                snapshot.number.find_first_not_of("0123456789") == std::string::npos &&
                snapshot.number.find_first_not_of('0') != std::string::npos;
            if (!number || configs.count(snapshot.config) == 0 || snapshot.config.empty()) {
                return "Snapper の設定 " + snapshot.config + " にスナップショット " +
                       snapshot.number + " はありません";
            }
            const ShellResult result = Shell::run(
                programs.snapper, {"--no-dbus", "-c", snapshot.config, "delete", snapshot.number});
            if (result.status != 0) return toolText(result);
            return std::nullopt;
        }
        case Maker::timeshift: {
            if (!SnapshotListing::isTimeshiftName(snapshot.name)) {
                return "Timeshift のスナップショット名ではありません: " + snapshot.name;
            }
            const ShellResult result =
                Shell::run(programs.timeshift,
                           {"--delete", "--snapshot", snapshot.name, "--scripted", "--yes"});
            // Timeshift reports success even when it stopped half way: only
            // a listing without the snapshot says it is gone.
            for (const LocalSnapshot& left : SnapshotListing::parseTimeshift(
                     Shell::run(programs.timeshift, {"--list", "--scripted"}).out)) {
                if (left.name == snapshot.name) {
                    const std::string text = toolText(result);
                    return text.empty() ? "Timeshift がスナップショットを削除しませんでした" : text;
                }
            }
            return std::nullopt;
        }
        case Maker::btrfs:
            if (auto error = BtrfsSnapshot::destroy(snapshot.path, locator)) {
                return error->description;
            }
            return std::nullopt;
    }
    return "不明な種類のスナップショットです";
}

}  // namespace

std::vector<std::optional<std::string>> SnapshotTools::deleteAllAsRoot(
    const std::vector<LocalSnapshot>& snapshots, DeletionRules::Locator& locator,
    const Programs& programs) {
    const bool anySnapper = std::any_of(snapshots.begin(), snapshots.end(),
                                        [](const auto& s) { return s.maker == Maker::snapper; });
    const std::set<std::string> configs =
        anySnapper ? snapperConfigs(programs.snapper) : std::set<std::string>{};
    std::vector<std::optional<std::string>> errors;
    for (const LocalSnapshot& snapshot : snapshots) {
        errors.push_back(deleteOne(snapshot, locator, programs, configs));
    }
    return errors;
}

std::optional<std::string> SnapshotTools::deleteAsRoot(const LocalSnapshot& snapshot,
                                                       DeletionRules::Locator& locator,
                                                       const Programs& programs) {
    return deleteAllAsRoot({snapshot}, locator, programs).front();
}

SnapshotTools::AdminListing SnapshotTools::listThroughHelper(const std::string& elevator,
                                                             const std::string& helper) {
    const AdminHelper::Run run = AdminHelper::run(elevator, helper, {"list-snapshots"}, "");
    AdminListing listing{run.result, {}, run.elevationMissing};
    if (run.result.status == 0) {
        if (auto decoded = decode(run.result.out)) listing.snapshots = std::move(*decoded);
    }
    return listing;
}

SnapshotTools::Deletion SnapshotTools::deleteThroughHelper(
    const std::string& elevator, const std::string& helper,
    const std::vector<LocalSnapshot>& snapshots) {
    if (snapshots.empty()) return {};
    const AdminHelper::Run run =
        AdminHelper::run(elevator, helper, {"delete-snapshots"}, encode(snapshots));
    Deletion deletion;
    deletion.run = run.result;
    deletion.elevationMissing = run.elevationMissing;
    decodeResults(run.result.out, snapshots.size(), deletion);
    return deletion;
}

std::string SnapshotTools::encode(const std::vector<LocalSnapshot>& snapshots) {
    Json list = Json::array();
    for (const LocalSnapshot& s : snapshots) {
        list.push_back({{"maker", makerName(s.maker)},
                        {"config", s.config},
                        {"number", s.number},
                        {"name", s.name},
                        {"path", s.path},
                        {"date", s.date},
                        {"description", s.description},
                        {"exclusive", s.exclusiveBytes ? Json(*s.exclusiveBytes) : Json()}});
    }
    // Text that is not UTF-8 (a description, a path) is replaced rather
    // than failing the whole answer.
    return list.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::optional<std::vector<LocalSnapshot>> SnapshotTools::decode(std::string_view text) {
    const Json list = Json::parse(text, nullptr, false);
    if (list.is_discarded() || !list.is_array()) return std::nullopt;
    std::vector<LocalSnapshot> snapshots;
    const auto field = [](const Json& o, const char* key) {
        const auto it = o.find(key);
        return it != o.end() && it->is_string() ? it->get<std::string>() : std::string();
    };
    for (const Json& o : list) {
        if (!o.is_object()) return std::nullopt;
        LocalSnapshot s;
        const std::string maker = field(o, "maker");
        s.maker = maker == "snapper"     ? Maker::snapper
                  : maker == "timeshift" ? Maker::timeshift
                                         : Maker::btrfs;
        s.config = field(o, "config");
        s.number = field(o, "number");
        s.name = field(o, "name");
        s.path = field(o, "path");
        s.date = field(o, "date");
        s.description = field(o, "description");
        if (const auto it = o.find("exclusive"); it != o.end() && it->is_number_integer()) {
            s.exclusiveBytes = it->get<std::int64_t>();
        }
        snapshots.push_back(std::move(s));
    }
    return snapshots;
}

std::string SnapshotTools::encodeResults(const std::vector<std::optional<std::string>>& errors,
                                         const std::vector<LocalSnapshot>& after) {
    Json results = Json::array();
    for (const auto& error : errors) results.push_back(error ? Json(*error) : Json());
    const Json answer = {{"errors", results}, {"after", Json::parse(encode(after))}};
    return answer.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void SnapshotTools::decodeResults(std::string_view text, std::size_t count, Deletion& deletion) {
    deletion.errors.assign(count, std::string("管理者権限での削除が完了しませんでした"));
    const Json answer = Json::parse(text, nullptr, false);
    if (answer.is_discarded() || !answer.is_object()) return;
    if (const auto errors = answer.find("errors"); errors != answer.end() && errors->is_array()) {
        for (std::size_t i = 0; i < count && i < errors->size(); ++i) {
            const Json& e = (*errors)[i];
            if (e.is_null()) deletion.errors[i] = std::nullopt;
            if (e.is_string()) deletion.errors[i] = e.get<std::string>();
        }
    }
    if (const auto after = answer.find("after"); after != answer.end()) {
        deletion.after = decode(after->dump());
    }
}

}  // namespace kelvane
