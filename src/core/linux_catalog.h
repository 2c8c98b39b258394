#pragma once

#include <string>
#include <vector>

#include "core/clean_category.h"

namespace kelvane {

// The places that fill a Linux disk, as a second table beside the built-in
// one: thumbnails, browser and package caches, /var/tmp, the journal, crash
// dumps, language tool caches, containers, Flatpak and Snap (/var/log itself
// is the built-in "system_logs" row's place on Linux). Every row
// is a folder category measured at launch, in one of the sidebar's existing
// sections. The model lists these after the built-in rows.
struct LinuxCatalog {
    // The rows over the process's own home folder and the real "/".
    static std::vector<CleanCategory> all();
    // The rows over a given home and a given system root: home patterns are
    // `home` + suffix, system patterns `systemRoot` + absolute path (empty for
    // the real root), so tests can build both over folders of their own.
    static std::vector<CleanCategory> build(const std::string& home, const std::string& systemRoot);
};

}  // namespace kelvane
