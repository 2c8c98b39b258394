#include "ui/components/display_text.h"

#include "core/unicode_text.h"

#include <cstdint>

namespace kelvane::DisplayText {
namespace {

// The length of the well-formed sequence at `at`, or 0 for a byte that does
// not start one.
std::size_t sequenceLength(std::string_view s, std::size_t at) {
    const int n = UnicodeText::utf8SequenceLength(s, at);
    return n > 0 ? static_cast<std::size_t>(n) : 0;
}

}  // namespace

QString fromBytes(std::string_view bytes) {
    // The common case: valid UTF-8 decodes in one go.
    std::size_t at = 0;
    while (at < bytes.size()) {
        const std::size_t length = sequenceLength(bytes, at);
        if (length == 0) break;
        at += length;
    }
    if (at == bytes.size())
        return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));

    QString text = QString::fromUtf8(bytes.data(), static_cast<qsizetype>(at));
    while (at < bytes.size()) {
        const std::size_t length = sequenceLength(bytes, at);
        if (length == 0) {
            const auto value = static_cast<std::uint8_t>(bytes[at]);
            text += QStringLiteral("\\x") +
                    QString::number(value, 16).toUpper().rightJustified(2, QLatin1Char('0'));
            ++at;
        } else {
            text += QString::fromUtf8(bytes.data() + at, static_cast<qsizetype>(length));
            at += length;
        }
    }
    return text;
}

}  // namespace kelvane::DisplayText
