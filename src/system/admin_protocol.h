#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "system/delete_outcome.h"
#include "system/file_error.h"

namespace kelvane {

// How the app and its administrator helper talk. The request is the paths,
// each followed by a NUL byte (the one byte a path cannot hold), so there is
// no size limit and no quoting. The answer is one line per path, naming it
// by its position, never by its bytes:
//   ok <index>
//   fail <index> <kind> <code> <errno>
// where kind is "file" (a failed system call: code is the errno) or
// "refusal" (one of our rules: code is FileError's refusal code, errno the
// underlying one or 0). Nothing in it depends on a locale.
namespace AdminProtocol {

std::string encodeRequest(const std::vector<std::string>& paths);
std::vector<std::string> decodeRequest(std::string_view bytes);

// One answer line, ending in a line feed.
std::string encodeResult(std::size_t index, const std::optional<FileError>& error);

// The outcome for `paths` from the helper's answer. Every path lands in
// exactly one list, in the given order; a path without a valid answer line
// is a failure with the refusal notReported. Sizes are 0: the caller knows
// its own.
DeleteOutcome decodeResults(const std::vector<std::string>& paths, std::string_view answer);

}  // namespace AdminProtocol
}  // namespace kelvane
