#include "core/unicode_text.h"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <memory>

namespace kelvane::UnicodeText {

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
