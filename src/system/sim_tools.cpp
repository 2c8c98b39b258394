#include "system/sim_tools.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>

#include "system/shell.h"

namespace kelvane {
namespace {

using Json = nlohmann::ordered_json;

std::string stringMember(const Json& object, const char* key, std::string fallback) {
    const auto it = object.find(key);
    if (it == object.end() || !it->is_string()) return fallback;
    return it->get<std::string>();
}

// Any JSON number as a signed 64-bit count; out-of-range values are clamped
// rather than wrapped, so a huge size never turns negative.
std::int64_t sizeMember(const Json& object) {
    const auto it = object.find("sizeBytes");
    if (it == object.end()) return 0;
    constexpr auto max = std::numeric_limits<std::int64_t>::max();
    constexpr auto min = std::numeric_limits<std::int64_t>::min();
    if (it->is_number_integer() && !it->is_number_unsigned()) return it->get<std::int64_t>();
    if (it->is_number_unsigned()) {
        const auto value = it->get<std::uint64_t>();
        return value > static_cast<std::uint64_t>(max) ? max : static_cast<std::int64_t>(value);
    }
    if (it->is_number_float()) {
        const double value = it->get<double>();
        if (std::isnan(value)) return 0;
        if (value >= 9.2233720368547758e18) return max;
        if (value <= -9.2233720368547758e18) return min;
        return static_cast<std::int64_t>(value);
    }
    return 0;
}

SimRuntime runtimeFrom(const std::string& key, const Json& object) {
    SimRuntime r;
    r.id = stringMember(object, "identifier", key);
    r.version = stringMember(object, "version", "");
    r.build = stringMember(object, "build", "");
    r.platform = SimTools::platformOf(stringMember(object, "runtimeIdentifier", key));
    r.name = r.platform + " " + r.version;
    r.sizeBytes = sizeMember(object);
    r.state = stringMember(object, "state", "");
    const auto deletable = object.find("deletable");
    r.deletable = deletable == object.end() || !deletable->is_boolean() || deletable->get<bool>();
    if (const auto used = object.find("lastUsedAt"); used != object.end() && used->is_string()) {
        r.lastUsed = used->get<std::string>();
    }
    return r;
}

}  // namespace

std::string SimTools::platformOf(std::string_view runtimeIdentifier) {
    const std::size_t dot = runtimeIdentifier.rfind('.');
    std::string_view last =
        dot == std::string_view::npos ? runtimeIdentifier : runtimeIdentifier.substr(dot + 1);
    return std::string(last.substr(0, last.find('-')));
}

std::vector<SimRuntime> SimTools::parseRuntimes(const std::string& json) {
    try {
        // Without exceptions from the parser itself: malformed input gives a
        // "discarded" value. The try still guards the reads below, which must
        // never let a parser exception out of this layer.
        const Json document = Json::parse(json, nullptr, false);
        if (document.is_discarded() || !document.is_object()) return {};
        for (const auto& member : document.items()) {
            if (!member.value().is_object()) return {};
        }
        std::vector<SimRuntime> runtimes;
        runtimes.reserve(document.size());
        // ordered_json keeps document order, so ties keep a stable order.
        for (const auto& member : document.items()) {
            runtimes.push_back(runtimeFrom(member.key(), member.value()));
        }
        std::stable_sort(
            runtimes.begin(), runtimes.end(),
            [](const SimRuntime& a, const SimRuntime& b) { return a.sizeBytes > b.sizeBytes; });
        return runtimes;
    } catch (const nlohmann::json::exception&) {
        return {};
    }
}

std::vector<SimRuntime> SimTools::listRuntimes(const std::string& xcrun) {
    const ShellResult result = Shell::run(xcrun, {"simctl", "runtime", "list", "-j"});
    if (result.status != 0) return {};
    return parseRuntimes(result.out);
}

}  // namespace kelvane
