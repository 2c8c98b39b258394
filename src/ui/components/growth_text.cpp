#include "ui/components/growth_text.h"

#include <cstdlib>

#include "core/fmt.h"
#include "ui/components/palette_roles.h"

namespace kelvane {
namespace {

QString signedBytes(std::int64_t bytes) {
    if (bytes == 0) return QStringLiteral("±0");
    // A real minus sign: a hyphen reads as a dash next to Japanese text.
    const QString sign = bytes > 0 ? QStringLiteral("+") : QStringLiteral("\u2212");
    return sign + QString::fromStdString(Fmt::bytes(std::llabs(bytes)));
}

}  // namespace

QString GrowthText::change(const PlaceChange& change) {
    const QString amount = signedBytes(change.net());
    switch (change.kind) {
        case ChangeKind::appeared:
            return QStringLiteral("新規 ") + amount;
        case ChangeKind::vanished:
            return QStringLiteral("なし ") + amount;
        default:
            return amount;
    }
}

QColor GrowthText::color(const PlaceChange& change) {
    if (change.kind == ChangeKind::appeared) return PaletteRoles::accent();
    if (change.net() > 0) return PaletteRoles::orange();
    if (change.net() < 0) return PaletteRoles::green();
    return PaletteRoles::secondaryText();
}

QString GrowthText::deletedNote(const PlaceChange& change) {
    if (change.deleted <= 0) return {};
    return QStringLiteral("Kelvane で ") + QString::fromStdString(Fmt::bytes(change.deleted)) +
           QStringLiteral(" 削除");
}

}  // namespace kelvane
