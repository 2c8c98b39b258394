#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "core/measurement.h"
#include "scan/size_store.h"

namespace kelvane {

// The folders a measurement keeps for later comparison, read from the sizes the walk recorded.
namespace HistorySample {

inline constexpr std::size_t maxFolders = 2000;

struct Sample {
    std::vector<FolderSize> folders;  // sorted by path
    std::int64_t cutoff = 0;          // as Measurement::cutoff
};

// Each root and the folders one and two levels below it that the store has sizes for: the
// roots are what the folder browser lists first for a category of several roots, and two
// levels are what the overview's card and the browser's column can name without walking. When
// there are more than `limit`, the largest are kept (ties by path). Roots that overlap are
// sampled once.
Sample take(const SizeStore& store, const std::vector<std::string>& roots,
            std::size_t limit = maxFolders);

}  // namespace HistorySample
}  // namespace kelvane
