#include "core/path_text.h"

namespace kelvane::PathText {
namespace {

// The path without trailing slashes, keeping a lone "/" intact.
std::string_view trimmed(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    return path;
}

}  // namespace

std::string parent(std::string_view path) {
    const std::string_view p = trimmed(path);
    if (p.empty()) return {};
    if (p == "/") return "/";
    const auto slash = p.rfind('/');
    if (slash == std::string_view::npos) return {};
    std::string_view head = p.substr(0, slash);
    while (head.size() > 1 && head.back() == '/') head.remove_suffix(1);
    if (head.empty()) return "/";
    return std::string(head);
}

std::string lastComponent(std::string_view path) {
    const std::string_view p = trimmed(path);
    if (p.empty() || p == "/") return std::string(p);
    const auto slash = p.rfind('/');
    return std::string(slash == std::string_view::npos ? p : p.substr(slash + 1));
}

std::string extension(std::string_view path) {
    const std::string name = lastComponent(path);
    const auto dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0 || dot + 1 == name.size()) return {};
    return name.substr(dot + 1);
}

std::string join(std::string_view folder, std::string_view name) {
    std::string out(folder);
    if (out.empty() || out.back() != '/') out.push_back('/');
    out.append(name);
    return out;
}

std::string shortForm(std::string_view path, std::string_view home) {
    if (home.empty()) return std::string(path);
    if (path == home) return "~";
    if (path.size() > home.size() && path.substr(0, home.size()) == home &&
        path[home.size()] == '/') {
        return "~" + std::string(path.substr(home.size()));
    }
    return std::string(path);
}

bool isSameOrBelow(std::string_view path, std::string_view ancestor) {
    const std::string_view a = trimmed(ancestor);
    if (a == "/") return !path.empty() && path.front() == '/';
    if (path.size() < a.size() || path.substr(0, a.size()) != a) return false;
    return path.size() == a.size() || path[a.size()] == '/';
}

std::string absolute(std::string_view path, std::string_view workingFolder) {
    const std::string joined = path.starts_with('/')
                                   ? std::string(path)
                                   : std::string(workingFolder) + "/" + std::string(path);
    std::string out;
    std::size_t at = 0;
    while (at <= joined.size()) {
        std::size_t end = joined.find('/', at);
        if (end == std::string::npos) end = joined.size();
        const std::string_view part(joined.data() + at, end - at);
        if (!part.empty() && part != ".") {
            out += '/';
            out += part;
        }
        at = end + 1;
    }
    return out.empty() ? "/" : out;
}

}  // namespace kelvane::PathText
