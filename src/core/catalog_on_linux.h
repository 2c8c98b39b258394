#pragma once

#include <string>
#include <vector>

#include "core/clean_category.h"

namespace kelvane {

// The built-in rows as a Linux machine shows them. Rows whose places have a
// Linux counterpart are pointed at it and named after it; rows that name the
// other platform's folders or tools only keep their own patterns and are
// shown only where one of those folders really exists (see `onlyWhenPresent`).
// The two tool rows stay and name the Linux facilities that take their place.
struct CatalogOnLinux {
    // The places the adapted rows are formed from.
    struct Places {
        std::string home;        // the home folder, no trailing slash
        std::string systemRoot;  // put before every system path; empty for the real "/"
        std::string tempFolder;  // the temporary folder ($TMPDIR or /tmp), no trailing slash
        std::string dataHome;    // $XDG_DATA_HOME, else home + "/.local/share"
    };

    // The built-in rows, in their order, with the Linux places, names and
    // texts; ids, icons and kinds are kept.
    static std::vector<CleanCategory> adapt(std::vector<CleanCategory> builtIn,
                                            const Places& places);
    // Whether a row exists only on the other platform, so that it is listed
    // only when one of its folders is found on this machine.
    static bool onlyWhenPresent(const CleanCategory& category);
    // The process's own places: $HOME, "/", $TMPDIR or /tmp, $XDG_DATA_HOME.
    static Places real();
    // Every built-in row adapted over the real places, then LinuxCatalog's
    // rows; the macOS-only rows are still in the list (the caller filters).
    static std::vector<CleanCategory> all();
};

}  // namespace kelvane
