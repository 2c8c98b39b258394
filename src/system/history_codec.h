#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/category_history.h"

namespace kelvane {

// The bytes of a category's history file.
//
//   "KELVHIST"  u32 version  u64 body length  body  u64 FNV-1a of the body   (little-endian)
//
// A file that is shorter or longer than its length says, or whose body does not hash to the
// sum, is damaged, so a write cut short or a flipped byte is found before anything is read.
// The body (numbers as LEB128 varints, signed ones zigzagged):
//   category id (length, bytes)
//   path count, then each path sorted by bytes as: bytes shared with the path before, length
//     of the rest, the rest
//   measurement count, then for each: time (the first as is, then the step from the one
//     before), total, cutoff, the deleted items (count; each path coded like the table
//     against the deleted path before, then its bytes), the changes (count; each the distance
//     in the path table from the change before, then 0 when the folder left the list or 1 +
//     the zigzagged step from its size before, 0 for a folder not listed before)
// The first measurement's changes are its whole list. Only changes are kept, so a measurement
// in which a few of 2,000 folders moved costs a few hundred bytes.
namespace HistoryCodec {

inline constexpr std::uint32_t formatVersion = 1;

std::string encode(const CategoryHistory& history);

enum class Problem { damaged, newer };

struct Decoded {
    std::optional<CategoryHistory> history;
    Problem problem = Problem::damaged;  // when there is no history
};

Decoded decode(std::string_view bytes);

// Whether `head`, the first bytes of a file, names a format newer than ours.
bool isNewer(std::string_view head);

}  // namespace HistoryCodec
}  // namespace kelvane
