#include "system/utf8_repair.h"

#include "core/unicode_text.h"

#include <cstddef>
#include <cstdint>

namespace kelvane {
namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";

// The position of the first ill-formed byte, or the size when there is none.
std::size_t firstInvalid(std::string_view bytes) {
    std::size_t i = 0;
    while (i < bytes.size()) {
        if (static_cast<unsigned char>(bytes[i]) < 0x80) {
            ++i;
            continue;
        }
        const int n = UnicodeText::utf8SequenceLength(bytes, i);
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
        bytes.remove_prefix(bad +
                            static_cast<std::size_t>(-UnicodeText::utf8SequenceLength(bytes, bad)));
    }
    out.append(bytes);
    return out;
}

void repairUtf8(std::string& text) {
    if (firstInvalid(text) != text.size()) text = repairedUtf8(text);
}

}  // namespace kelvane
