#include "system/utf8_repair.h"

#include <cstddef>
#include <cstdint>

namespace kelvane {
namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";

bool isContinuation(unsigned char c) {
    return (c & 0xC0) == 0x80;
}

// Length of the well-formed sequence starting at `i`, or the length of the
// maximal ill-formed prefix (at least 1) as a negative number.
int sequenceLength(std::string_view s, std::size_t i) {
    const auto lead = static_cast<unsigned char>(s[i]);
    if (lead < 0x80) return 1;
    int need = 0;
    // The allowed range of the second byte narrows for some leads, which is
    // what rules out overlong forms, surrogates and values past U+10FFFF.
    unsigned char lo = 0x80, hi = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        need = 1;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        need = 2;
        if (lead == 0xE0) lo = 0xA0;
        if (lead == 0xED) hi = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        need = 3;
        if (lead == 0xF0) lo = 0x90;
        if (lead == 0xF4) hi = 0x8F;
    } else {
        return -1;
    }
    for (int k = 1; k <= need; ++k) {
        if (i + k >= s.size()) return -k;
        const auto c = static_cast<unsigned char>(s[i + k]);
        const bool ok = k == 1 ? (c >= lo && c <= hi) : isContinuation(c);
        if (!ok) return -k;
    }
    return need + 1;
}

// The position of the first ill-formed byte, or the size when there is none.
std::size_t firstInvalid(std::string_view bytes) {
    std::size_t i = 0;
    while (i < bytes.size()) {
        if (static_cast<unsigned char>(bytes[i]) < 0x80) {
            ++i;
            continue;
        }
        const int n = sequenceLength(bytes, i);
        if (n < 0) return i;
        i += static_cast<std::size_t>(n);
    }
    return bytes.size();
}

}  // namespace

std::string repairedUtf8(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size());
    // Valid stretches are copied in one piece; only bad bytes are replaced.
    for (std::size_t bad; (bad = firstInvalid(bytes)) != bytes.size();) {
        out.append(bytes.substr(0, bad));
        out.append(replacement);
        bytes.remove_prefix(bad + static_cast<std::size_t>(-sequenceLength(bytes, bad)));
    }
    out.append(bytes);
    return out;
}

void repairUtf8(std::string& text) {
    if (firstInvalid(text) != text.size()) text = repairedUtf8(text);
}

}  // namespace kelvane
