#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

// What an entry of an export says besides its name. Sizes of 0 and flags that are false are
// left out of the text, as ncdu leaves them out.
struct ExportInfo {
    std::int64_t asize = 0;            // apparent size (st_size)
    std::int64_t dsize = 0;            // allocated size (st_blocks * 512)
    std::optional<std::uint64_t> dev;  // written where it differs from the parent folder's
    std::uint64_t ino = 0;             // written with nlink for files with several names
    std::uint32_t nlink = 0;
    bool readError = false;
    bool otherFileSystem = false;  // a mount point that was not entered
    bool notRegular = false;       // neither a folder nor a regular file

    // The fields a walk fills from one status record.
    static ExportInfo of(const struct stat& status);
};

// Writes ncdu's JSON export format (major version 1, minor 2) into a text buffer, entry by
// entry in tree order: a folder is "[" + its info object, then its entries, then "]"; a file is
// its info object alone. The buffer is the caller's to hand on (a file, a pipe, a larger
// buffer); nothing here touches a descriptor.
class ExportWriter {
  public:
    explicit ExportWriter(std::string& out) : out_(out) {}

    // The opening "[1,2,{metadata}," of the document.
    void header(std::string_view progver, std::int64_t timestamp);
    // The closing "]" after the root folder (or root file).
    void footer();

    void beginFolder(std::string_view name, const ExportInfo& info);
    void endFolder();
    void item(std::string_view name, const ExportInfo& info);
    // Writes the separator before an entry whose text another writer produces (a subtree
    // walked elsewhere), as if that entry had been written here.
    void elsewhere() { separate(); }

    // The name as a JSON string, the way ncdu writes it: '"' and '\' escaped, control characters
    // as \n, \t, ... or \u00XX, DEL as \u007f, and every other byte as it is. Names that are not
    // UTF-8 therefore pass byte for byte, and a reader that copies unescaped bytes through gets
    // them back unchanged.
    static void appendString(std::string& out, std::string_view bytes);

  private:
    void object(std::string_view name, const ExportInfo& info);
    void separate();

    std::string& out_;
    bool needComma_ = false;  // an entry was written in the folder open now
};

}  // namespace kelvane
