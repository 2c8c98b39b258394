#include "system/admin_protocol.h"

#include <charconv>
#include <sstream>

#include "system/cleaner.h"

namespace kelvane {
namespace {

// One parsed answer line; nothing when the line is malformed.
struct Answer {
    std::size_t index = 0;
    std::optional<FileError> error;
};

template <typename Number>
bool parse(std::string_view word, Number& out) {
    const auto [end, ec] = std::from_chars(word.data(), word.data() + word.size(), out);
    return ec == std::errc() && end == word.data() + word.size();
}

std::optional<Answer> parseLine(std::string_view line) {
    std::vector<std::string_view> words;
    while (!line.empty()) {
        const std::size_t blank = line.find(' ');
        words.push_back(line.substr(0, blank));
        line = blank == std::string_view::npos ? std::string_view() : line.substr(blank + 1);
    }
    Answer answer;
    if (words.size() == 2 && words[0] == "ok" && parse(words[1], answer.index)) return answer;
    int code = 0;
    int errnum = 0;
    if (words.size() != 5 || words[0] != "fail" || !parse(words[1], answer.index) ||
        !parse(words[3], code) || !parse(words[4], errnum)) {
        return std::nullopt;
    }
    if (words[2] == "file" && code > 0) {
        answer.error = FileError::fromErrno(code);
    } else if (words[2] == "refusal" && errnum >= 0) {
        answer.error = FileError::refusal(code, errnum);
    } else {
        return std::nullopt;
    }
    return answer;
}

}  // namespace

std::string AdminProtocol::encodeRequest(const std::vector<std::string>& paths) {
    std::string bytes;
    for (const std::string& path : paths) {
        bytes += path;
        bytes += '\0';
    }
    return bytes;
}

std::vector<std::string> AdminProtocol::decodeRequest(std::string_view bytes) {
    std::vector<std::string> paths;
    while (!bytes.empty()) {
        const std::size_t end = bytes.find('\0');
        paths.emplace_back(bytes.substr(0, end));
        if (end == std::string_view::npos) break;
        bytes.remove_prefix(end + 1);
    }
    return paths;
}

std::string AdminProtocol::encodeResult(std::size_t index, const std::optional<FileError>& error) {
    if (!error) return "ok " + std::to_string(index) + "\n";
    const bool refusal = std::string_view(error->domain) == FileError::refusalDomain;
    const int errnum = Cleaner::underlyingErrno(*error).value_or(0);
    const int code = refusal ? error->code : errnum;
    return "fail " + std::to_string(index) + (refusal ? " refusal " : " file ") +
           std::to_string(code) + " " + std::to_string(errnum) + "\n";
}

DeleteOutcome AdminProtocol::decodeResults(const std::vector<std::string>& paths,
                                           std::string_view answer) {
    std::vector<std::optional<Answer>> answers(paths.size());
    while (!answer.empty()) {
        const std::size_t end = answer.find('\n');
        // A line cut off by a helper that died is no answer.
        if (end == std::string_view::npos) break;
        if (const auto parsed = parseLine(answer.substr(0, end));
            parsed && parsed->index < paths.size() && !answers[parsed->index]) {
            answers[parsed->index] = parsed;
        }
        answer.remove_prefix(end + 1);
    }
    DeleteOutcome outcome;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        if (!answers[i]) {
            outcome.failures.push_back({paths[i], FileError::refusal(FileError::notReported)});
        } else if (answers[i]->error) {
            outcome.failures.push_back({paths[i], *answers[i]->error});
        } else {
            outcome.deleted.push_back({paths[i], 0});
        }
    }
    return outcome;
}

}  // namespace kelvane
