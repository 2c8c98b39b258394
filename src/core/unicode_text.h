#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kelvane {

// Unicode-aware operations on UTF-8 texts shown to the user (tool output,
// error messages). Malformed bytes never make these fail.
namespace UnicodeText {

// The UTF-8 sequence starting at byte `at` of `bytes`: its length when it is
// well-formed (overlong forms, surrogates and values past U+10FFFF are not),
// otherwise the length of its maximal ill-formed prefix (at least 1) as a
// negative number. Both the repair of tool output and the display of file
// names that are not UTF-8 walk text with it.
int utf8SequenceLength(std::string_view bytes, std::size_t at);

// `text` without Unicode white space and line ends at either end.
std::string trimmed(std::string_view text);

// The first `count` user-perceived characters (grapheme clusters) of `text`;
// the whole text when it has no more than that.
std::string firstGraphemes(std::string_view text, std::size_t count);

}  // namespace UnicodeText
}  // namespace kelvane
