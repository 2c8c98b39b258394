#pragma once

#include <string>

#include "core/catalog.h"
#include "model/app_model.h"
#include "scan/disk_capacity.h"

namespace kelvane {

// The model's surroundings over a home folder (normally a demo home): the catalog's rows built
// over it, its trash, the real disk; no history unless the caller sets one.
inline ModelEnvironment demoEnvironment(const std::string& home) {
    ModelEnvironment env;
    env.home = home;
    env.trashFiles = home + "/.local/share/Trash/files";
    env.categories = Catalog::build(home, home + "/tmpbase", env.trashFiles);
    env.readDisk = &DiskCapacity::current;
    return env;
}

}  // namespace kelvane
