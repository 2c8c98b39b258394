#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/sim_runtime.h"
#include "system/tool_command.h"

namespace kelvane {

// The Flatpak runtimes of the user's and the system's installation, the apps
// that run on each, and the commands that remove them. The parsers read what
// `flatpak` prints when its output is not a terminal: no header, one line per
// ref, columns separated by tabs.
namespace FlatpakTools {

inline constexpr const char* flatpakPath = "/usr/bin/flatpak";
inline constexpr const char* platformName = "Flatpak";

// An installed app and the runtime it names ("NAME/ARCH/BRANCH").
struct AppRuntime {
    std::string app;
    std::string runtime;
    std::string installation;
};

// Every runtime of both installations with its size and the apps using it,
// largest first. Empty when `flatpak` is missing or fails; an installation the
// tool cannot read contributes nothing. `flatpak` may name a stand-in.
std::vector<SimRuntime> list(const std::string& flatpak = flatpakPath);

// The runtimes in `flatpak list --runtime --columns=ref` of `installation`,
// in listing order, deletable and with no size yet. Lines that are not a
// NAME/ARCH/BRANCH ref are skipped.
std::vector<SimRuntime> parseRuntimes(const std::string& out, const std::string& installation);

// The apps in `flatpak list --app --columns=application,runtime`.
std::vector<AppRuntime> parseAppRuntimes(const std::string& out, const std::string& installation);

// The byte count `flatpak info -s` prints; nothing for anything else.
std::optional<std::int64_t> parseSize(const std::string& out);

// Fills each runtime's usedBy (sorted, without repeats) and clears deletable
// where an app needs it. An app runs on a runtime of its own installation; a
// user's app may also run on the system's, never the other way round.
void linkApps(std::vector<SimRuntime>& runtimes, const std::vector<AppRuntime>& apps);

// The refs `flatpak uninstall --unused` names as pinned and keeps, as
// printed ("runtime/NAME/ARCH/BRANCH"), whatever the language of its lead.
std::vector<std::string> parsePinned(const std::string& out);

// Removes one runtime from its own installation, without questions.
ToolCommand uninstallCommand(const SimRuntime& runtime);

// The system installation's folder as flatpak finds it: FLATPAK_SYSTEM_DIR
// when set, else /var/lib/flatpak.
std::string systemFolder();

// Removes the runtimes no app uses, from the user's installation and then the
// system's (where flatpak asks for the administrator itself when needed) —
// only when the system's has a repository: without one there is nothing to
// remove, and flatpak fails for anyone but root.
std::vector<ToolCommand> uninstallUnusedCommands();

}  // namespace FlatpakTools
}  // namespace kelvane
