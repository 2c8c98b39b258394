#include "core/unicode_text.h"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <memory>

namespace kelvane::UnicodeText {

int utf8SequenceLength(std::string_view s, std::size_t i) {
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
        if (i + static_cast<std::size_t>(k) >= s.size()) return -k;
        const auto c = static_cast<unsigned char>(s[i + static_cast<std::size_t>(k)]);
        const bool ok = k == 1 ? (c >= lo && c <= hi) : (c & 0xC0) == 0x80;
        if (!ok) return -k;
    }
    return need + 1;
}

std::string trimmed(std::string_view text) {
    const icu::UnicodeString u = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    int32_t start = 0;
    int32_t end = u.length();
    while (start < end && u_isUWhiteSpace(u.char32At(start))) start = u.moveIndex32(start, 1);
    while (end > start) {
        const int32_t previous = u.moveIndex32(end, -1);
        if (!u_isUWhiteSpace(u.char32At(previous))) break;
        end = previous;
    }
    std::string out;
    u.tempSubStringBetween(start, end).toUTF8String(out);
    return out;
}

std::string firstGraphemes(std::string_view text, std::size_t count) {
    const icu::UnicodeString u = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> breaks(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    std::string out;
    if (U_FAILURE(status) || !breaks) {
        u.toUTF8String(out);
        return out;
    }
    breaks->setText(u);
    int32_t end = breaks->first();
    for (std::size_t taken = 0; taken < count; ++taken) {
        const int32_t next = breaks->next();
        if (next == icu::BreakIterator::DONE) break;
        end = next;
    }
    u.tempSubStringBetween(0, end).toUTF8String(out);
    return out;
}

}  // namespace kelvane::UnicodeText
