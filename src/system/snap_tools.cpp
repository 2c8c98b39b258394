#include "system/snap_tools.h"

#include <sys/stat.h>

#include <algorithm>

#include "system/shell.h"
#include "system/tool_output.h"

namespace kelvane {
namespace {

// Name, Version, Rev, Tracking, Publisher, Notes: the columns of the table.
constexpr std::size_t kColumns = 6;

bool noted(std::string_view notes, std::string_view word) {
    const std::vector<std::string_view> all = ToolOutput::fields(notes, ',');
    return std::find(all.begin(), all.end(), word) != all.end();
}

std::int64_t allocatedSize(const std::string& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) return 0;
    return static_cast<std::int64_t>(info.st_blocks) * 512;
}

}  // namespace

std::vector<SimRuntime> SnapTools::parseDisabled(const std::string& out) {
    std::vector<SimRuntime> revisions;
    for (const std::string_view line : ToolOutput::lines(out)) {
        const std::vector<std::string_view> words = ToolOutput::words(line);
        // The header names its columns; a package is never called "Name"
        // (names are lower case).
        if (words.size() != kColumns || words[0] == "Name") continue;
        if (!noted(words[kColumns - 1], "disabled")) continue;
        SimRuntime revision;
        revision.id = words[0];
        revision.version = words[1];
        revision.build = words[2];
        revision.name =
            revision.id + " " + revision.version + " (リビジョン " + revision.build + ")";
        revision.platform = platformName;
        revision.deletable = true;
        revisions.push_back(std::move(revision));
    }
    return revisions;
}

std::vector<SimRuntime> SnapTools::list(const std::string& snap, const std::string& folder,
                                        const std::string& socket) {
    struct stat info {};
    if (::stat(socket.c_str(), &info) != 0) return {};
    const ShellResult result =
        Shell::run(snap, {"list", "--all", "--color=never", "--unicode=never"});
    if (result.status != 0) return {};
    std::vector<SimRuntime> revisions = parseDisabled(result.out);
    for (SimRuntime& revision : revisions) {
        revision.sizeBytes =
            allocatedSize(folder + "/" + revision.id + "_" + revision.build + ".snap");
    }
    std::stable_sort(
        revisions.begin(), revisions.end(),
        [](const SimRuntime& a, const SimRuntime& b) { return a.sizeBytes > b.sizeBytes; });
    return revisions;
}

ToolCommand SnapTools::removeCommand(const SimRuntime& revision) {
    return {snapPath, {"remove", revision.id, "--revision=" + revision.build}};
}

}  // namespace kelvane
