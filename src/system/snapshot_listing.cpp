#include "system/snapshot_listing.h"

#include <charconv>
#include <nlohmann/json.hpp>

namespace kelvane {
namespace {

using Json = nlohmann::json;

std::vector<std::string_view> linesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        lines.push_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return lines;
}

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\r')) {
        s.remove_prefix(1);
    }
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r')) {
        s.remove_suffix(1);
    }
    return s;
}

std::vector<std::string_view> wordsOf(std::string_view line) {
    std::vector<std::string_view> words;
    std::size_t at = 0;
    while (at < line.size()) {
        while (at < line.size() && (line[at] == ' ' || line[at] == '\t')) ++at;
        const std::size_t start = at;
        while (at < line.size() && line[at] != ' ' && line[at] != '\t') ++at;
        if (at > start) words.push_back(line.substr(start, at - start));
    }
    return words;
}

bool allDigits(std::string_view s) {
    return !s.empty() && s.find_first_not_of("0123456789") == std::string_view::npos;
}

std::string stringField(const Json& object, const char* key) {
    const auto it = object.find(key);
    return it != object.end() && it->is_string() ? it->get<std::string>() : std::string();
}

}  // namespace

bool SnapshotListing::isTimeshiftName(std::string_view s) {
    if (s.size() != 19) return false;
    for (std::size_t i = 0; i < s.size(); ++i) {
        const char separator = i == 10 ? '_' : (i == 4 || i == 7 || i == 13 || i == 16) ? '-' : 0;
        if (separator != 0 ? s[i] != separator : (s[i] < '0' || s[i] > '9')) return false;
    }
    return true;
}

std::vector<LocalSnapshot> SnapshotListing::parseSnapper(std::string_view json) {
    const Json document = Json::parse(json, nullptr, false);
    if (document.is_discarded() || !document.is_object()) return {};
    std::vector<LocalSnapshot> found;
    for (const auto& [config, snapshots] : document.items()) {
        if (!snapshots.is_array()) continue;
        for (const Json& row : snapshots) {
            if (!row.is_object()) continue;
            const auto number = row.find("number");
            if (number == row.end() || !number->is_number_unsigned() ||
                number->get<std::uint64_t>() == 0) {
                continue;  // 0 is the running system itself
            }
            LocalSnapshot s;
            s.maker = LocalSnapshot::Maker::snapper;
            s.config = config;
            s.number = std::to_string(number->get<std::uint64_t>());
            const std::string subvolume = stringField(row, "subvolume");
            if (!subvolume.empty()) {
                s.path =
                    (subvolume == "/" ? "" : subvolume) + "/.snapshots/" + s.number + "/snapshot";
            }
            s.date = stringField(row, "date");
            s.description = stringField(row, "description");
            if (const auto used = row.find("used-space");
                used != row.end() && used->is_number_integer()) {
                s.exclusiveBytes = used->get<std::int64_t>();
            }
            found.push_back(std::move(s));
        }
    }
    return found;
}

std::vector<LocalSnapshot> SnapshotListing::parseTimeshift(std::string_view out) {
    std::vector<LocalSnapshot> found;
    std::size_t descriptionAt = std::string_view::npos;
    for (const std::string_view line : linesOf(out)) {
        // The header gives the columns; its padding, like the rows', is in bytes.
        if (line.starts_with("Num") && line.find("Name") != std::string_view::npos) {
            descriptionAt = line.find("Description");
            continue;
        }
        const std::vector<std::string_view> words = wordsOf(line);
        if (words.size() < 2 || !allDigits(words[0])) continue;
        const std::string_view name = words[1] == ">" && words.size() > 2 ? words[2] : words[1];
        if (!isTimeshiftName(name)) continue;
        LocalSnapshot s;
        s.maker = LocalSnapshot::Maker::timeshift;
        s.name = std::string(name);
        s.date = s.name.substr(0, 10) + " " + s.name.substr(11, 2) + ":" + s.name.substr(14, 2) +
                 ":" + s.name.substr(17, 2);
        if (descriptionAt != std::string_view::npos && line.size() > descriptionAt) {
            s.description = std::string(trimmed(line.substr(descriptionAt)));
        }
        found.push_back(std::move(s));
    }
    return found;
}

std::vector<SnapshotListing::BtrfsSubvolume> SnapshotListing::parseBtrfsList(std::string_view out) {
    std::vector<BtrfsSubvolume> found;
    for (const std::string_view line : linesOf(out)) {
        // The path is the rest of the line and may hold spaces.
        const std::size_t pathAt = line.find(" path ");
        if (!line.starts_with("ID ") || pathAt == std::string_view::npos) continue;
        const std::vector<std::string_view> words = wordsOf(line.substr(0, pathAt));
        BtrfsSubvolume subvolume;
        subvolume.id = std::string(words.size() > 1 ? words[1] : "");
        for (std::size_t i = 0; i + 2 < words.size(); ++i) {
            if (words[i] == "otime") {
                subvolume.otime = std::string(words[i + 1]) + " " + std::string(words[i + 2]);
            }
        }
        subvolume.path = std::string(line.substr(pathAt + 6));
        if (allDigits(subvolume.id) && !subvolume.path.empty())
            found.push_back(std::move(subvolume));
    }
    return found;
}

std::vector<std::pair<std::string, std::int64_t>> SnapshotListing::parseQgroups(
    std::string_view out) {
    std::vector<std::pair<std::string, std::int64_t>> found;
    for (const std::string_view line : linesOf(out)) {
        const std::vector<std::string_view> words = wordsOf(line);
        if (words.size() < 3 || !words[0].starts_with("0/")) continue;
        std::int64_t exclusive = 0;
        const auto [end, ec] =
            std::from_chars(words[2].data(), words[2].data() + words[2].size(), exclusive);
        if (ec != std::errc() || end != words[2].data() + words[2].size()) continue;
        found.emplace_back(std::string(words[0].substr(2)), exclusive);
    }
    return found;
}

}  // namespace kelvane
