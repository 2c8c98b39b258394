#include "scan/dir_listing.h"

#include <fcntl.h>

#include "scan/folder_stream.h"
#include "core/unique_fd.h"

namespace kelvane {

std::optional<std::vector<std::string>> listFolderNames(const std::string& folder) {
    UniqueFd fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!fd.valid()) return std::nullopt;
    FolderStream stream(std::move(fd));
    std::vector<std::string> names;
    FolderItem item;
    for (;;) {
        switch (stream.next(item)) {
            case FolderStream::Step::item:
                names.emplace_back(item.view());
                break;
            case FolderStream::Step::end:
                return names;
            case FolderStream::Step::failed:
                return std::nullopt;
        }
    }
}

}  // namespace kelvane
