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

// Whether a size unit as Fmt writes it starts at `at`: letters of an
// alphabet ("KB", "bytes", "МБ"), or "バイト". Japanese text after a number
// ("3 項目を", "17.2 を") is left alone; it breaks like the rest of the line.
bool startsUnit(const QString& text, qsizetype at) {
    const QChar c = text[at];
    if (!c.isLetter()) return false;
    switch (c.script()) {
        case QChar::Script_Han:
        case QChar::Script_Hiragana:
        case QChar::Script_Katakana:
            return QStringView(text).sliced(at).startsWith(u"バイト");
        default:
            return true;
    }
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

QString sentence(std::string_view bytes) {
    QString text = fromBytes(bytes);
    for (qsizetype i = 1; i + 1 < text.size(); ++i) {
        if (text[i] == QLatin1Char(' ') && text[i - 1].isDigit() && startsUnit(text, i + 1))
            text[i] = QChar::Nbsp;
    }
    return text;
}

}  // namespace kelvane::DisplayText
