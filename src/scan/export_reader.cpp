#include "scan/export_reader.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

namespace kelvane {
namespace {

constexpr std::size_t kChunkBytes = 1 << 20;
// A name longer than this is no file name and no path; refusing it bounds what a damaged or
// hostile file can make us hold.
constexpr std::size_t kLongestName = 1 << 20;
constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t kSizeLimit = std::numeric_limits<std::int64_t>::max();

// Bytes from a descriptor, a chunk at a time, or from memory; tells where each byte was.
class Source {
  public:
    Source(int fd, const ReadProgress& progress)
        : fd_(fd), chunk_(std::make_unique<char[]>(kChunkBytes)), progress_(progress) {}
    explicit Source(std::string_view text)
        : fd_(-1), base_(text.data()), at_(text.data()), end_(text.data() + text.size()) {}

    // The next byte without taking it; -1 at the end (or after a failed read).
    int peek() {
        if (at_ == end_ && !refill()) return -1;
        return static_cast<unsigned char>(*at_);
    }
    int get() {
        const int c = peek();
        if (c >= 0) ++at_;
        return c;
    }
    std::uint64_t offset() const { return passed_ + static_cast<std::uint64_t>(at_ - base_); }
    int readErrno() const { return readErrno_; }

  private:
    bool refill();

    const int fd_;
    std::unique_ptr<char[]> chunk_;
    ReadProgress progress_;
    const char* base_ = nullptr;  // where the bytes in hand begin
    const char* at_ = nullptr;
    const char* end_ = nullptr;
    std::uint64_t passed_ = 0;  // bytes of the chunks before the one in hand
    int readErrno_ = 0;
};

bool Source::refill() {
    if (fd_ < 0 || readErrno_ != 0) return false;
    passed_ += static_cast<std::uint64_t>(end_ - base_);
    for (;;) {
        const ssize_t n = ::read(fd_, chunk_.get(), kChunkBytes);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) readErrno_ = errno;
        base_ = at_ = chunk_.get();
        end_ = at_ + (n > 0 ? n : 0);
        if (n > 0 && progress_) progress_(passed_ + static_cast<std::uint64_t>(n));
        return n > 0;
    }
}

class Parser {
  public:
    Parser(Source& source, ExportVisitor& visitor) : in_(source), visitor_(visitor) {}
    std::optional<ExportError> run();

  private:
    bool document();
    bool metadata();
    bool tree();
    // The members of an object whose "{" is next, each key read into `key` and handed to
    // `value`, which reads what follows the ":". An empty object has none.
    template <typename Value>
    bool members(std::string& key, Value value);
    bool info(ExportEntry& entry);
    bool string(std::string& out);
    bool unsignedNumber(std::uint64_t limit, std::uint64_t& value, std::string_view key);
    bool boolean(bool& value, std::string_view key);
    bool skipValue();
    bool literal(std::string_view word);
    bool hex4(unsigned& value);
    bool expect(char c);
    void space() {
        for (int c = in_.peek(); c == ' ' || c == '\n' || c == '\r' || c == '\t'; c = in_.peek())
            in_.get();
    }
    bool fail(std::string message) { return fail(in_.offset(), std::move(message)); }
    bool fail(std::uint64_t offset, std::string message);
    bool unexpected(std::string_view wanted);

    Source& in_;
    ExportVisitor& visitor_;
    std::optional<ExportError> error_;
    std::string name_;
    std::string excludedText_;
};

template <typename Value>
bool Parser::members(std::string& key, Value value) {
    in_.get();  // the '{'
    space();
    if (in_.peek() == '}') {
        in_.get();
        return true;
    }
    for (;;) {
        space();
        if (in_.peek() != '"') return unexpected("キーの文字列");
        if (!string(key) || !expect(':')) return false;
        space();
        if (!value()) return false;
        space();
        const int c = in_.get();
        if (c == '}') return true;
        if (c != ',') {
            if (c >= 0) return fail(in_.offset() - 1, "「,」か「}」が必要です");
            return unexpected("「,」か「}」");
        }
    }
}

std::optional<ExportError> Parser::run() {
    document();
    return error_;
}

bool Parser::fail(std::uint64_t offset, std::string message) {
    if (!error_) {
        if (in_.readErrno() != 0) {
            message = "読み込みに失敗しました: " + std::string(std::strerror(in_.readErrno()));
        }
        error_ = ExportError{offset, std::move(message)};
    }
    return false;
}

bool Parser::unexpected(std::string_view wanted) {
    if (in_.peek() < 0)
        return fail("途中で終わっています（" + std::string(wanted) + "が必要です）");
    return fail(std::string(wanted) + "が必要です");
}

bool Parser::expect(char c) {
    space();
    if (in_.peek() != static_cast<unsigned char>(c)) {
        return unexpected(std::string("「") + c + "」");
    }
    in_.get();
    return true;
}

bool Parser::document() {
    if (!expect('[')) return false;
    space();
    const std::uint64_t versionAt = in_.offset();
    std::uint64_t major = 0;
    std::uint64_t minor = 0;
    if (!unsignedNumber(10000, major, "版数") || !expect(',')) return false;
    if (major != 1) return fail(versionAt, "対応していない形式の版です（主版数 1 のみ読めます）");
    space();
    if (!unsignedNumber(10000, minor, "版数") || !expect(',')) return false;
    space();
    if (in_.peek() != '{') return unexpected("メタデータのオブジェクト");
    if (!metadata() || !expect(',')) return false;
    if (!tree() || !expect(']')) return false;
    space();
    if (in_.peek() >= 0) return fail("エクスポートの後に余分なデータがあります");
    if (in_.readErrno() != 0) return fail("");
    return true;
}

// The metadata object. What it says is only a label for the reader, so a program name that is
// not a string or a time that is not a whole number is passed over rather than refused.
bool Parser::metadata() {
    ExportMetadata said;
    std::string key;
    const bool read = members(key, [&] {
        const int c = in_.peek();
        if (key == "timestamp" && c >= '0' && c <= '9') {
            std::uint64_t seconds = 0;
            const bool ok = unsignedNumber(kSizeLimit, seconds, key);
            said.timestamp = static_cast<std::int64_t>(seconds);
            return ok;
        }
        if (key == "progname" && c == '"') return string(said.progname);
        return skipValue();
    });
    if (read) visitor_.metadata(said);
    return read;
}

// The root and everything below it, without recursion: only the depth is kept.
bool Parser::tree() {
    ExportEntry entry;
    space();
    if (in_.peek() == '{') {
        if (!info(entry)) return false;
        visitor_.file(entry);
        return true;
    }
    if (!expect('[') || !info(entry)) return false;
    visitor_.folder(entry);
    std::uint64_t depth = 1;
    while (depth > 0) {
        space();
        const int c = in_.get();
        if (c == ']') {
            visitor_.leave();
            --depth;
            continue;
        }
        if (c != ',') {
            if (c >= 0) return fail(in_.offset() - 1, "「,」か「]」が必要です");
            return unexpected("「,」か「]」");
        }
        space();
        if (in_.peek() == '[') {
            in_.get();
            if (!info(entry)) return false;
            visitor_.folder(entry);
            ++depth;
        } else if (in_.peek() == '{') {
            if (!info(entry)) return false;
            visitor_.file(entry);
        } else {
            return unexpected("項目（「{」か「[」）");
        }
    }
    return true;
}

// An info object, the first thing in a folder's array and the whole of a file.
bool Parser::info(ExportEntry& entry) {
    space();
    const std::uint64_t start = in_.offset();
    if (in_.peek() != '{') return unexpected("情報オブジェクト（「{」）");
    entry = ExportEntry{};
    bool named = false;
    std::string key;
    const bool read = members(key, [&] {
        std::uint64_t number = 0;
        if (key == "name") {
            if (in_.peek() != '"') return fail("「name」は文字列でなければなりません");
            named = true;
            return string(name_);
        }
        if (key == "asize" || key == "dsize") {
            const bool ok = unsignedNumber(kSizeLimit, number, key);
            (key == "asize" ? entry.asize : entry.dsize) = static_cast<std::int64_t>(number);
            return ok;
        }
        if (key == "dev") {
            const bool ok = unsignedNumber(kNoLimit, number, key);
            entry.dev = number;
            return ok;
        }
        if (key == "ino") return unsignedNumber(kNoLimit, entry.ino, key);
        if (key == "nlink") return unsignedNumber(kNoLimit, entry.nlink, key);
        if (key == "hlnkc") return boolean(entry.hlnkc, key);
        if (key == "read_error") return boolean(entry.readError, key);
        if (key == "notreg") return boolean(entry.notRegular, key);
        if (key == "excluded") {
            // ncdu writes the reason ("othfs", "pattern", "kernfs", ...); any reason counts.
            if (in_.peek() != '"') return fail("「excluded」は文字列でなければなりません");
            entry.excluded = true;
            return string(excludedText_);
        }
        return skipValue();
    });
    if (!read) return false;
    if (!named) return fail(start, "項目に「name」がありません");
    entry.name = name_;
    return true;
}

bool Parser::hex4(unsigned& value) {
    value = 0;
    for (int i = 0; i < 4; ++i) {
        const int c = in_.get();
        int digit = -1;
        if (c >= '0' && c <= '9') digit = c - '0';
        if (c >= 'a' && c <= 'f') digit = c - 'a' + 10;
        if (c >= 'A' && c <= 'F') digit = c - 'A' + 10;
        if (digit < 0)
            return c < 0 ? unexpected("16 進数字") : fail("\\u の後に 16 進数字が必要です");
        value = value * 16 + static_cast<unsigned>(digit);
    }
    return true;
}

void appendUtf8(std::string& out, unsigned code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xc0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3f));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xe0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3f));
        out += static_cast<char>(0x80 | (code & 0x3f));
    } else {
        out += static_cast<char>(0xf0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3f));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3f));
        out += static_cast<char>(0x80 | (code & 0x3f));
    }
}

// A JSON string; the caller has seen its '"'. Bytes of 0x80 and above pass unchanged: ncdu
// writes names that are not UTF-8 as raw bytes, and reading them back the same way keeps them.
bool Parser::string(std::string& out) {
    out.clear();
    in_.get();
    for (;;) {
        const int c = in_.get();
        if (c < 0) return unexpected("文字列の終わりの「\"」");
        if (c == '"') return true;
        if (out.size() >= kLongestName) return fail("文字列が長すぎます");
        if (c < 0x20) return fail(in_.offset() - 1, "文字列の中に制御文字があります");
        if (c != '\\') {
            out += static_cast<char>(c);
            continue;
        }
        const int e = in_.get();
        switch (e) {
            case '"':
                out += '"';
                break;
            case '\\':
                out += '\\';
                break;
            case '/':
                out += '/';
                break;
            case 'b':
                out += '\b';
                break;
            case 'f':
                out += '\f';
                break;
            case 'n':
                out += '\n';
                break;
            case 'r':
                out += '\r';
                break;
            case 't':
                out += '\t';
                break;
            case 'u': {
                unsigned code = 0;
                if (!hex4(code)) return false;
                // A pair of surrogates is one character; a lone one is kept as its own code.
                if (code >= 0xd800 && code < 0xdc00 && in_.peek() == '\\') {
                    in_.get();
                    if (in_.get() != 'u') return fail(in_.offset() - 1, "\\u の続きが必要です");
                    unsigned low = 0;
                    if (!hex4(low)) return false;
                    if (low >= 0xdc00 && low < 0xe000) {
                        code = 0x10000 + ((code - 0xd800) << 10) + (low - 0xdc00);
                    } else {
                        appendUtf8(out, code);
                        code = low;
                    }
                }
                appendUtf8(out, code);
                break;
            }
            default:
                if (e < 0) return unexpected("エスケープの続き");
                return fail(in_.offset() - 1, "不正なエスケープです");
        }
    }
}

bool Parser::unsignedNumber(std::uint64_t limit, std::uint64_t& value, std::string_view key) {
    const std::uint64_t start = in_.offset();
    int c = in_.peek();
    if (c < '0' || c > '9') {
        if (c < 0) return unexpected("数値");
        return fail("「" + std::string(key) + "」は 0 以上の整数でなければなりません");
    }
    value = 0;
    for (; c >= '0' && c <= '9'; c = in_.peek()) {
        const auto digit = static_cast<std::uint64_t>(c - '0');
        if (value > (limit - digit) / 10) {
            return fail(start, "「" + std::string(key) + "」の値が大きすぎます");
        }
        value = value * 10 + digit;
        in_.get();
    }
    if (c == '.' || c == 'e' || c == 'E') {
        return fail("「" + std::string(key) + "」は 0 以上の整数でなければなりません");
    }
    return true;
}

bool Parser::boolean(bool& value, std::string_view key) {
    if (in_.peek() == 't') {
        value = true;
        return literal("true");
    }
    if (in_.peek() == 'f') {
        value = false;
        return literal("false");
    }
    // ncdu 1.x wrote some flags as numbers; 0 is false, anything else true.
    if (in_.peek() >= '0' && in_.peek() <= '9') {
        std::uint64_t number = 0;
        if (!unsignedNumber(kNoLimit, number, key)) return false;
        value = number != 0;
        return true;
    }
    if (in_.peek() < 0) return unexpected("真偽値");
    return fail("「" + std::string(key) + "」は真偽値でなければなりません");
}

bool Parser::literal(std::string_view word) {
    for (const char w : word) {
        const int c = in_.get();
        if (c != static_cast<unsigned char>(w)) {
            if (c < 0) return unexpected(std::string(word));
            return fail(in_.offset() - 1, "不正な値です");
        }
    }
    return true;
}

// Any JSON value, nested to any depth, without recursion.
bool Parser::skipValue() {
    std::vector<char> open;  // the closing brackets still owed
    for (;;) {
        space();
        int c = in_.peek();
        if (c == '"') {
            if (!string(excludedText_)) return false;
        } else if (c == '[' || c == '{') {
            in_.get();
            open.push_back(c == '[' ? ']' : '}');
            space();
            if (in_.peek() == open.back()) {
                in_.get();
                open.pop_back();
            } else {
                if (open.back() == '}') {
                    if (in_.peek() != '"') return unexpected("キーの文字列");
                    if (!string(excludedText_) || !expect(':')) return false;
                }
                continue;
            }
        } else if (c == 't') {
            if (!literal("true")) return false;
        } else if (c == 'f') {
            if (!literal("false")) return false;
        } else if (c == 'n') {
            if (!literal("null")) return false;
        } else if (c == '-' || (c >= '0' && c <= '9')) {
            in_.get();
            for (c = in_.peek();
                 (c >= '0' && c <= '9') || c == '.' || c == 'e' || c == 'E' || c == '+' || c == '-';
                 c = in_.peek()) {
                in_.get();
            }
        } else {
            return unexpected("値");
        }
        // After a value: a separator, or the end of one or more containers.
        for (;;) {
            if (open.empty()) return true;
            space();
            c = in_.get();
            if (c == open.back()) {
                open.pop_back();
                continue;
            }
            if (c != ',') {
                if (c < 0) return unexpected("「,」");
                return fail(in_.offset() - 1, "「,」が必要です");
            }
            if (open.back() == '}') {
                space();
                if (in_.peek() != '"') return unexpected("キーの文字列");
                if (!string(excludedText_) || !expect(':')) return false;
            }
            break;
        }
    }
}

}  // namespace

std::optional<ExportError> readExport(int fd, ExportVisitor& visitor,
                                      const ReadProgress& progress) {
    Source source(fd, progress);
    return Parser(source, visitor).run();
}

std::optional<ExportError> readExport(std::string_view text, ExportVisitor& visitor) {
    Source source(text);
    return Parser(source, visitor).run();
}

}  // namespace kelvane
