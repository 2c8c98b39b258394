#pragma once

#include <QColor>
#include <QString>

#include "core/growth.h"

namespace kelvane {

// How a change since the comparison point is written and coloured, the same
// on the overview's card, in the browser's column and in the map's tooltip.
namespace GrowthText {

// "+1.2 GB", "−300 MB", "±0"; a new place "新規 +200 KB", a gone one "なし −1 GB".
QString change(const PlaceChange& change);
// Orange for growth, green for shrinking, the accent for a new place.
QColor color(const PlaceChange& change);
// What went through Kelvane meanwhile, when anything did: "Kelvane で 400 MB 削除".
QString deletedNote(const PlaceChange& change);

}  // namespace GrowthText
}  // namespace kelvane
