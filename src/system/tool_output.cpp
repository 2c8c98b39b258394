#include "system/tool_output.h"

#include <algorithm>

namespace kelvane {

std::vector<std::string_view> ToolOutput::lines(std::string_view text) {
    std::vector<std::string_view> result;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        result.push_back(line);
        if (end == std::string_view::npos) break;
        text.remove_prefix(end + 1);
    }
    return result;
}

std::vector<std::string_view> ToolOutput::fields(std::string_view line, char separator) {
    std::vector<std::string_view> result;
    for (;;) {
        const std::size_t end = line.find(separator);
        result.push_back(line.substr(0, end));
        if (end == std::string_view::npos) return result;
        line.remove_prefix(end + 1);
    }
}

std::vector<std::string_view> ToolOutput::words(std::string_view line) {
    std::vector<std::string_view> result;
    std::size_t at = 0;
    while (at < line.size()) {
        const std::size_t start = line.find_first_not_of(" \t", at);
        if (start == std::string_view::npos) break;
        const std::size_t end = std::min(line.find_first_of(" \t", start), line.size());
        result.push_back(line.substr(start, end - start));
        at = end;
    }
    return result;
}

}  // namespace kelvane
