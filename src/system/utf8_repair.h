#pragma once

#include <string>
#include <string_view>

namespace kelvane {

// `bytes` as valid UTF-8: every malformed sequence (stray continuation bytes,
// truncated or overlong sequences, surrogates, values above U+10FFFF) becomes
// U+FFFD, one per maximal ill-formed subpart as the Unicode standard
// recommends; valid text passes through unchanged.
std::string repairedUtf8(std::string_view bytes);

// The same in place: valid text (the usual case) is left as it is, without
// copying what may be megabytes of program output.
void repairUtf8(std::string& text);

}  // namespace kelvane
