#pragma once

#include <string>
#include <vector>

#include "system/shell_result.h"

namespace kelvane {

// Lists and deletes the startup volume's local snapshots through `tmutil`. A
// snapshot is known by its date text only (e.g. "2024-05-01-103015").
namespace SnapshotTools {

inline constexpr const char* tmutilPath = "/usr/bin/tmutil";

// The date texts of the local snapshots, in the order the tool prints them;
// empty when there are none or the tool gives nothing usable (on Linux there
// is no tmutil, so always empty). `tmutil` may name a stand-in program.
std::vector<std::string> list(const std::string& tmutil = tmutilPath);

// The date texts in the output of `tmutil listlocalsnapshots /`: every line
// that, trimmed, starts with "com.apple.TimeMachine.", without that prefix and
// without a trailing ".local". Any other line is skipped.
std::vector<std::string> parseList(const std::string& out);

// Deletes the snapshots with the given date texts as administrator, one
// password prompt for all. An empty list runs nothing and reports status 0.
// (`delete` is a C++ keyword, hence the name.)
ShellResult deleteSnapshot(const std::vector<std::string>& dates);

// The command line deleteSnapshot runs: one quoted tmutil command per date,
// joined by "; " so a failing one does not stop the rest.
std::string deleteCommand(const std::vector<std::string>& dates);

}  // namespace SnapshotTools
}  // namespace kelvane
