#include "system/history_codec.h"

#include <algorithm>
#include <limits>

#include "core/fnv1a.h"

namespace kelvane {
namespace {

constexpr std::string_view magic = "KELVHIST";
constexpr std::size_t headerSize = 8 + 4 + 8;
constexpr std::size_t trailerSize = 8;

void putVarint(std::string& out, std::uint64_t value) {
    while (value >= 0x80) {
        out.push_back(static_cast<char>((value & 0x7f) | 0x80));
        value >>= 7;
    }
    out.push_back(static_cast<char>(value));
}

std::uint64_t zigzag(std::int64_t value) {
    return (static_cast<std::uint64_t>(value) << 1) ^ static_cast<std::uint64_t>(value >> 63);
}

std::int64_t unzigzag(std::uint64_t value) {
    return static_cast<std::int64_t>(value >> 1) ^ -static_cast<std::int64_t>(value & 1);
}

void putSigned(std::string& out, std::int64_t value) {
    putVarint(out, zigzag(value));
}

void putFixed(std::string& out, std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>(value >> (8 * i)));
}

std::uint64_t getFixed(std::string_view in, int bytes) {
    std::uint64_t value = 0;
    for (int i = 0; i < bytes; ++i) {
        value |= static_cast<std::uint64_t>(static_cast<unsigned char>(in[i])) << (8 * i);
    }
    return value;
}

// A path written as the part it shares with the one before and the rest.
void putPath(std::string& out, std::string_view path, std::string_view before) {
    const auto shared = static_cast<std::size_t>(
        std::mismatch(path.begin(), path.end(), before.begin(), before.end()).first - path.begin());
    putVarint(out, shared);
    putVarint(out, path.size() - shared);
    out.append(path.substr(shared));
}

// Reads the body; every read checks what is left, so no input reads past its end.
class Reader {
  public:
    explicit Reader(std::string_view in) : in_(in) {}
    bool failed() const { return failed_; }
    bool atEnd() const { return in_.empty(); }

    std::uint64_t varint() {
        std::uint64_t value = 0;
        for (int shift = 0; shift < 64; shift += 7) {
            if (in_.empty()) break;
            const auto byte = static_cast<unsigned char>(in_.front());
            in_.remove_prefix(1);
            value |= static_cast<std::uint64_t>(byte & 0x7f) << shift;
            if ((byte & 0x80) == 0) return value;
        }
        failed_ = true;
        return 0;
    }
    std::int64_t signedVarint() { return unzigzag(varint()); }
    // A count of items that each take at least one byte, so a damaged count cannot make us
    // reserve more than the input could hold.
    std::size_t count() {
        const std::uint64_t n = varint();
        if (n > in_.size()) failed_ = true;
        return failed_ ? 0 : static_cast<std::size_t>(n);
    }
    std::string_view bytes(std::uint64_t n) {
        if (n > in_.size()) {
            failed_ = true;
            return {};
        }
        const auto out = in_.substr(0, n);
        in_.remove_prefix(n);
        return out;
    }
    std::string path(std::string_view before) {
        const std::uint64_t shared = varint();
        const std::uint64_t rest = varint();
        if (shared > before.size()) failed_ = true;
        if (failed_) return {};
        std::string path(before.substr(0, shared));
        path.append(bytes(rest));
        return path;
    }
    void fail() { failed_ = true; }

  private:
    std::string_view in_;
    bool failed_ = false;
};

std::optional<CategoryHistory> decodeBody(std::string_view body) {
    Reader in(body);
    CategoryHistory history{std::string(in.bytes(in.varint()))};
    const std::size_t pathCount = in.count();
    std::string before;
    for (std::size_t i = 0; i < pathCount && !in.failed(); ++i) {
        std::string path = in.path(before);
        if (i > 0 && path <= before) in.fail();  // sorted and distinct, as written
        if (history.intern(path) != i) in.fail();
        before = std::move(path);
    }
    CategoryHistory::State state(pathCount, -1);
    const std::size_t count = in.count();
    std::int64_t time = 0;
    for (std::size_t m = 0; m < count && !in.failed(); ++m) {
        CategoryHistory::Step step;
        time = m == 0 ? in.signedVarint() : time + in.signedVarint();
        step.time = time;
        step.total = in.signedVarint();
        step.cutoff = in.signedVarint();
        const std::size_t deleted = in.count();
        std::string previous;
        for (std::size_t d = 0; d < deleted && !in.failed(); ++d) {
            std::string path = in.path(previous);
            step.deleted.push_back({path, in.signedVarint()});
            previous = std::move(path);
        }
        const std::size_t changes = in.count();
        std::uint64_t rank = 0;
        for (std::size_t c = 0; c < changes && !in.failed(); ++c) {
            rank += in.varint() + (c == 0 ? 0 : 1);
            const std::uint64_t value = in.varint();
            if (rank >= pathCount) {
                in.fail();
                break;
            }
            const auto n = static_cast<std::uint32_t>(rank);
            std::int64_t bytes = -1;
            if (value == 0) {
                if (state[n] < 0) in.fail();  // only a listed folder can leave the list
            } else {
                const std::int64_t old = std::max<std::int64_t>(state[n], 0);
                const std::int64_t step = unzigzag(value - 1);
                if (step < -old || step > std::numeric_limits<std::int64_t>::max() - old) {
                    in.fail();
                    break;
                }
                bytes = old + step;
            }
            state[n] = bytes;
            step.changes.push_back({n, bytes});
        }
        history.appendStep(std::move(step));
    }
    if (in.failed() || !in.atEnd()) return std::nullopt;
    return history;
}

}  // namespace

std::string HistoryCodec::encode(const CategoryHistory& history) {
    // The changes that really change something, and which paths they name: a path no kept
    // measurement names any more is left out of the table.
    std::vector<std::vector<CategoryHistory::Change>> changes(history.size());
    std::vector<bool> named(history.pathCount(), false);
    CategoryHistory::State state(history.pathCount(), -1);
    for (std::size_t i = 0; i < history.size(); ++i) {
        for (const auto& c : history.step(i).changes) {
            const std::int64_t bytes = c.bytes < 0 ? -1 : c.bytes;
            if (state[c.path] == bytes) continue;
            changes[i].push_back({c.path, bytes});
            state[c.path] = bytes;
            named[c.path] = true;
        }
    }
    std::vector<std::uint32_t> rank(history.pathCount(), 0);
    std::string body;
    putVarint(body, history.categoryID().size());
    body.append(history.categoryID());
    std::vector<std::uint32_t> table;
    for (const std::uint32_t n : history.pathsInOrder()) {
        if (!named[n]) continue;
        rank[n] = static_cast<std::uint32_t>(table.size());
        table.push_back(n);
    }
    putVarint(body, table.size());
    std::string_view before;
    for (const std::uint32_t n : table) {
        putPath(body, history.path(n), before);
        before = history.path(n);
    }
    putVarint(body, history.size());
    std::fill(state.begin(), state.end(), -1);
    for (std::size_t i = 0; i < history.size(); ++i) {
        const auto& step = history.step(i);
        putSigned(body, i == 0 ? step.time : step.time - history.step(i - 1).time);
        putSigned(body, step.total);
        putSigned(body, step.cutoff);
        putVarint(body, step.deleted.size());
        std::string_view previous;
        for (const auto& d : step.deleted) {
            putPath(body, d.path, previous);
            putSigned(body, d.bytes);
            previous = d.path;
        }
        auto& list = changes[i];
        std::sort(list.begin(), list.end(),
                  [&](const auto& a, const auto& b) { return rank[a.path] < rank[b.path]; });
        putVarint(body, list.size());
        std::uint32_t last = 0;
        for (std::size_t c = 0; c < list.size(); ++c) {
            const std::uint32_t r = rank[list[c].path];
            putVarint(body, c == 0 ? r : r - last - 1);
            last = r;
            const std::int64_t old = std::max<std::int64_t>(state[list[c].path], 0);
            putVarint(body, list[c].bytes < 0 ? 0 : zigzag(list[c].bytes - old) + 1);
            state[list[c].path] = list[c].bytes;
        }
    }
    std::string file(magic);
    putFixed(file, formatVersion, 4);
    putFixed(file, body.size(), 8);
    file.append(body);
    putFixed(file, fnv1a(body), 8);
    return file;
}

bool HistoryCodec::isNewer(std::string_view head) {
    return head.size() >= 12 && head.starts_with(magic) &&
           getFixed(head.substr(8), 4) > formatVersion;
}

HistoryCodec::Decoded HistoryCodec::decode(std::string_view bytes) {
    if (bytes.size() < headerSize + trailerSize || !bytes.starts_with(magic)) return {};
    // A newer Kelvane may have changed everything after the version, so nothing else is read.
    if (isNewer(bytes)) return {std::nullopt, Problem::newer};
    if (getFixed(bytes.substr(8), 4) == 0) return {};
    const std::uint64_t length = getFixed(bytes.substr(12), 8);
    if (length != bytes.size() - headerSize - trailerSize) return {};
    const std::string_view body = bytes.substr(headerSize, length);
    if (fnv1a(body) != getFixed(bytes.substr(headerSize + length), 8)) return {};
    return {decodeBody(body)};
}

}  // namespace kelvane
