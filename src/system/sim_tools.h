#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/sim_runtime.h"

namespace kelvane {

// Lists the installed simulator runtimes through `xcrun simctl`.
namespace SimTools {

inline constexpr const char* xcrunPath = "/usr/bin/xcrun";

// The runtimes, largest first; empty when the tool is missing (always, on
// Linux), fails, or prints something that is not a JSON object of objects.
// `xcrun` may name a stand-in program.
std::vector<SimRuntime> listRuntimes(const std::string& xcrun = xcrunPath);

// The runtimes in the JSON printed by `simctl runtime list -j`, in document
// order, then stably sorted by size, largest first. Empty for anything that is
// not a JSON object whose members are all objects. Never throws.
std::vector<SimRuntime> parseRuntimes(const std::string& json);

// The platform in a runtime identifier: the last "."-separated piece, up to
// its first "-" ("com.apple.CoreSimulator.SimRuntime.iOS-17-2" gives "iOS").
std::string platformOf(std::string_view runtimeIdentifier);

}  // namespace SimTools
}  // namespace kelvane
