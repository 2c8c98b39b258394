#pragma once

#include <QString>
#include <string_view>

namespace kelvane {

// Turns file-system bytes into text for the screen. Names are usually UTF-8,
// but nothing forces them to be: a byte that is not part of valid UTF-8 is
// shown as "\xNN", so two such names stay distinguishable and nothing is
// silently dropped. The result is for display only; the bytes stay the
// identity of the item.
namespace DisplayText {

QString fromBytes(std::string_view bytes);

// The same, for sentences that wrap (dialogs, notices): a size also stays on
// one line with its unit ("2 MB", "999 バイト"), the space between them
// becoming a no-break space. Only the shown text changes, never the model's.
QString sentence(std::string_view bytes);

}  // namespace DisplayText
}  // namespace kelvane
