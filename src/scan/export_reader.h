#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

// One entry of an export, as its info object says. `name` holds the bytes the writer's file
// system gave (escapes undone) and is valid only during the visitor's call.
struct ExportEntry {
    std::string_view name;
    std::int64_t asize = 0;
    std::int64_t dsize = 0;
    std::optional<std::uint64_t> dev;  // only where the writer gave one
    std::uint64_t ino = 0;
    std::uint64_t nlink = 0;
    bool hlnkc = false;
    bool readError = false;
    bool notRegular = false;
    bool excluded = false;  // left out by the writer: another file system, a pattern, ...
};

// What the export says about itself: the program that wrote it and when (seconds since the
// epoch). Either may be missing; the reader does not insist on either.
struct ExportMetadata {
    std::string progname;
    std::optional<std::int64_t> timestamp;
};

// Receives an export's entries in document order: a folder, then everything in it, then
// leave(). The root is the first folder (or the only file).
class ExportVisitor {
  public:
    virtual ~ExportVisitor() = default;
    // Before the entries.
    virtual void metadata(const ExportMetadata&) {}
    virtual void folder(const ExportEntry& entry) = 0;
    virtual void file(const ExportEntry& entry) = 0;
    virtual void leave() = 0;
};

// Why an export could not be read: where (a byte offset from the start) and what, in Japanese.
struct ExportError {
    std::uint64_t offset = 0;
    std::string message;
};

// Reads ncdu's JSON export format (major version 1, any minor version; what ncdu, gdu and
// kelvane-scan write) in one pass with a fixed buffer, handing each entry to `visitor` as it is
// read. Nesting of any depth costs no stack. Unknown keys are skipped. Bytes outside the ASCII
// range inside strings are kept as they are, so names that are not UTF-8 arrive unchanged.
// Returns the first problem found; the visitor may have seen entries before it.
// `progress`, when given, hears the bytes read so far after each chunk read from `fd`.
using ReadProgress = std::function<void(std::uint64_t bytesRead)>;
std::optional<ExportError> readExport(int fd, ExportVisitor& visitor,
                                      const ReadProgress& progress = {});
std::optional<ExportError> readExport(std::string_view text, ExportVisitor& visitor);

}  // namespace kelvane
