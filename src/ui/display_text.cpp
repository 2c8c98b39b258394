#include "ui/display_text.h"

#include <cstdint>

namespace kelvane::DisplayText {
namespace {

// Length of the well-formed UTF-8 sequence starting at `at`, or 0 when the
// byte there does not start one (overlong forms and surrogates included).
std::size_t sequenceLength(std::string_view s, std::size_t at) {
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(s[i]); };
    const std::uint8_t lead = byte(at);
    if (lead < 0x80) return 1;
    std::size_t length = 0;
    std::uint8_t low = 0x80;
    std::uint8_t high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return 0;
    }
    if (at + length > s.size()) return 0;
    if (byte(at + 1) < low || byte(at + 1) > high) return 0;
    for (std::size_t i = 2; i < length; ++i) {
        if (byte(at + i) < 0x80 || byte(at + i) > 0xBF) return 0;
    }
    return length;
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
