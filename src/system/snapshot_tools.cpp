#include "system/snapshot_tools.h"

#include <string_view>

#include "system/shell.h"

namespace kelvane {
namespace {

constexpr std::string_view snapshotPrefix = "com.apple.TimeMachine.";
constexpr std::string_view localSuffix = ".local";

// The byte length of a tab or a Unicode space separator (general category Zs)
// at the start of `s`, or 0.
std::size_t leadingSpace(std::string_view s) {
    static constexpr std::string_view spaces[] = {
        "\t",     " ",      "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004",
        "\u2005", "\u2006", "\u2007", "\u2008", "\u2009", "\u200A", "\u202F", "\u205F", "\u3000"};
    for (const std::string_view space : spaces) {
        if (s.starts_with(space)) return space.size();
    }
    return 0;
}

std::size_t trailingSpace(std::string_view s) {
    // Spaces are at most three bytes long.
    for (std::size_t n = 1; n <= 3 && n <= s.size(); ++n) {
        const std::string_view tail = s.substr(s.size() - n);
        if (leadingSpace(tail) == n) return n;
    }
    return 0;
}

std::string_view trimmed(std::string_view s) {
    while (const std::size_t n = leadingSpace(s)) s.remove_prefix(n);
    while (const std::size_t n = trailingSpace(s)) s.remove_suffix(n);
    return s;
}

}  // namespace

std::vector<std::string> SnapshotTools::parseList(const std::string& out) {
    std::vector<std::string> dates;
    std::string_view rest = out;
    while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        const std::string_view raw = rest.substr(0, end);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        std::string_view line = trimmed(raw);
        // Headers such as "Snapshots for disk /:" and messages are skipped.
        if (!line.starts_with(snapshotPrefix)) continue;
        line.remove_prefix(snapshotPrefix.size());
        if (line.ends_with(localSuffix)) line.remove_suffix(localSuffix.size());
        dates.emplace_back(line);
    }
    return dates;
}

std::vector<std::string> SnapshotTools::list(const std::string& tmutil) {
    // Only the listing matters: a failing tool simply lists nothing.
    return parseList(Shell::run(tmutil, {"listlocalsnapshots", "/"}).out);
}

std::string SnapshotTools::deleteCommand(const std::vector<std::string>& dates) {
    std::string command;
    for (const std::string& date : dates) {
        if (!command.empty()) command += "; ";
        command += std::string(tmutilPath) + " deletelocalsnapshots " + Shell::quoted(date);
    }
    return command;
}

ShellResult SnapshotTools::deleteSnapshot(const std::vector<std::string>& dates) {
    if (dates.empty()) return {0, "", ""};
    return Shell::admin(deleteCommand(dates));
}

}  // namespace kelvane
