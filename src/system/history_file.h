#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/category_history.h"

namespace kelvane {

// Why the history could not be read or written: a line for the app's log, and the errno of the
// system call that failed (0 when the file itself was at fault).
struct HistoryError {
    int errnum = 0;
    std::string message;
};

struct LoadedHistories {
    std::vector<CategoryHistory> histories;  // by category id
    std::vector<HistoryError> problems;      // files set aside, folders that could not be read
};

// The history's files: one per category in one folder, each replaced whole by a new file
// written beside it, so a crash or a full disk leaves the old file or the new one, never half
// of one. A file that cannot be read, is damaged or was written by a newer Kelvane is renamed
// aside (".broken", ".newer") and that category starts afresh; nothing throws.
namespace HistoryFile {

// <stateHome>/kelvane when `stateHome` is an absolute path, else <home>/.local/state/kelvane.
std::string folderFor(std::string_view home, const char* stateHome);
// The folder from HOME and XDG_STATE_HOME as they are now.
std::string defaultFolder();

// The file that holds a category's history: the id's letters, digits, "_" and "-" (others as
// "_", at most 48) for a person looking at the folder, then a hash of the whole id, which can
// be any bytes and of any length.
std::string fileNameFor(std::string_view categoryID);

// Every category's history in `folder`. A missing folder is an empty history.
LoadedHistories loadAll(const std::string& folder);

// Writes one category's history, creating the folder (owner-only) when needed. A file written
// by a newer Kelvane is not replaced.
std::optional<HistoryError> save(const std::string& folder, const CategoryHistory& history);

// Removes every history file of the folder (set-aside ones too) and the folder when empty.
std::optional<HistoryError> clear(const std::string& folder);

}  // namespace HistoryFile
}  // namespace kelvane
