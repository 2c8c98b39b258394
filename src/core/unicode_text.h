#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kelvane {

// Unicode-aware operations on UTF-8 texts shown to the user (tool output,
// error messages). Malformed bytes never make these fail.
namespace UnicodeText {

// `text` without Unicode white space and line ends at either end.
std::string trimmed(std::string_view text);

// The first `count` user-perceived characters (grapheme clusters) of `text`;
// the whole text when it has no more than that.
std::string firstGraphemes(std::string_view text, std::size_t count);

}  // namespace UnicodeText
}  // namespace kelvane
