#include "system/flatpak_tools.h"

#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>

#include "system/shell.h"
#include "system/tool_output.h"

namespace kelvane {
namespace {

constexpr const char* kInstallations[] = {"user", "system"};

std::string option(const std::string& installation) {
    return "--" + installation;
}

bool isRef(const std::vector<std::string_view>& parts) {
    return parts.size() == 3 &&
           std::none_of(parts.begin(), parts.end(), [](std::string_view p) { return p.empty(); });
}

bool runsOn(const FlatpakTools::AppRuntime& app, const SimRuntime& runtime) {
    if (runtime.id != "runtime/" + app.runtime) return false;
    return app.installation == runtime.installation ||
           (app.installation == "user" && runtime.installation == "system");
}

}  // namespace

std::vector<SimRuntime> FlatpakTools::parseRuntimes(const std::string& out,
                                                    const std::string& installation) {
    std::vector<SimRuntime> runtimes;
    for (const std::string_view line : ToolOutput::lines(out)) {
        // The ref column alone; a listing with more columns names it first.
        const std::string_view ref = ToolOutput::fields(line, '\t').front();
        const std::vector<std::string_view> parts = ToolOutput::fields(ref, '/');
        if (!isRef(parts)) continue;
        SimRuntime runtime;
        runtime.id = "runtime/" + std::string(ref);
        runtime.name = std::string(parts[0]) + " " + std::string(parts[2]);
        runtime.version = parts[2];
        runtime.build = parts[1];
        runtime.platform = platformName;
        runtime.installation = installation;
        runtime.deletable = true;
        runtimes.push_back(std::move(runtime));
    }
    return runtimes;
}

std::vector<FlatpakTools::AppRuntime> FlatpakTools::parseAppRuntimes(
    const std::string& out, const std::string& installation) {
    std::vector<AppRuntime> apps;
    for (const std::string_view line : ToolOutput::lines(out)) {
        const std::vector<std::string_view> columns = ToolOutput::fields(line, '\t');
        if (columns.size() < 2 || columns[0].empty()) continue;
        if (!isRef(ToolOutput::fields(columns[1], '/'))) continue;
        apps.push_back({std::string(columns[0]), std::string(columns[1]), installation});
    }
    return apps;
}

std::optional<std::int64_t> FlatpakTools::parseSize(const std::string& out) {
    const std::vector<std::string_view> lines = ToolOutput::lines(out);
    if (lines.size() != 1 || lines[0].empty()) return std::nullopt;
    std::int64_t bytes = 0;
    const std::string_view text = lines[0];
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), bytes);
    if (error != std::errc() || end != text.data() + text.size() || bytes < 0) return std::nullopt;
    return bytes;
}

void FlatpakTools::linkApps(std::vector<SimRuntime>& runtimes,
                            const std::vector<AppRuntime>& apps) {
    for (SimRuntime& runtime : runtimes) {
        for (const AppRuntime& app : apps) {
            if (runsOn(app, runtime)) runtime.usedBy.push_back(app.app);
        }
        std::sort(runtime.usedBy.begin(), runtime.usedBy.end());
        runtime.usedBy.erase(std::unique(runtime.usedBy.begin(), runtime.usedBy.end()),
                             runtime.usedBy.end());
        runtime.deletable = runtime.usedBy.empty();
    }
}

std::vector<std::string> FlatpakTools::parsePinned(const std::string& out) {
    // After a (translated) lead line, one indented ref per line; the refs it
    // removes come unindented after "Uninstalling". The indentation is what
    // tells them apart in every language.
    std::vector<std::string> pinned;
    for (const std::string_view line : ToolOutput::lines(out)) {
        const std::vector<std::string_view> words = ToolOutput::words(line);
        if (line.starts_with(' ') && words.size() == 1 && words[0].starts_with("runtime/")) {
            pinned.emplace_back(words[0]);
        }
    }
    return pinned;
}

ToolCommand FlatpakTools::uninstallCommand(const SimRuntime& runtime) {
    return {flatpakPath,
            {"uninstall", "--noninteractive", option(runtime.installation), runtime.id}};
}

std::string FlatpakTools::systemFolder() {
    const char* folder = std::getenv("FLATPAK_SYSTEM_DIR");
    return folder != nullptr && *folder != '\0' ? folder : "/var/lib/flatpak";
}

std::vector<ToolCommand> FlatpakTools::uninstallUnusedCommands() {
    std::vector<ToolCommand> commands;
    for (const std::string installation : kInstallations) {
        struct stat info {};
        if (installation == "system" && ::stat((systemFolder() + "/repo").c_str(), &info) != 0) {
            continue;
        }
        commands.push_back(
            {flatpakPath, {"uninstall", "--unused", "--noninteractive", option(installation)}});
    }
    return commands;
}

std::vector<SimRuntime> FlatpakTools::list(const std::string& flatpak) {
    std::vector<SimRuntime> runtimes;
    std::vector<AppRuntime> apps;
    for (const std::string installation : kInstallations) {
        const ShellResult listed =
            Shell::run(flatpak, {"list", option(installation), "--runtime", "--columns=ref"});
        if (listed.status != 0) continue;
        for (SimRuntime& runtime : parseRuntimes(listed.out, installation)) {
            // The listing's own size column is rounded and localized; this
            // one is flatpak's byte count.
            const ShellResult size =
                Shell::run(flatpak, {"info", option(installation), "-s", runtime.id});
            if (size.status == 0) runtime.sizeBytes = parseSize(size.out).value_or(0);
            runtimes.push_back(std::move(runtime));
        }
        const ShellResult listedApps = Shell::run(
            flatpak, {"list", option(installation), "--app", "--columns=application,runtime"});
        if (listedApps.status != 0) continue;
        for (AppRuntime& app : parseAppRuntimes(listedApps.out, installation)) {
            apps.push_back(std::move(app));
        }
    }
    linkApps(runtimes, apps);
    std::stable_sort(
        runtimes.begin(), runtimes.end(),
        [](const SimRuntime& a, const SimRuntime& b) { return a.sizeBytes > b.sizeBytes; });
    return runtimes;
}

}  // namespace kelvane
