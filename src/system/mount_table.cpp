#include "system/mount_table.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <sstream>

#include "core/unique_fd.h"
#include "system/fd_io.h"

namespace kelvane {
namespace {

// Turns the kernel's octal escapes (\040, \011, \012, \134) back into bytes.
std::string unescaped(const std::string& field) {
    std::string out;
    out.reserve(field.size());
    for (std::size_t i = 0; i < field.size(); ++i) {
        const bool octal = field[i] == '\\' && i + 3 < field.size() && field[i + 1] >= '0' &&
                           field[i + 1] <= '3' && field[i + 2] >= '0' && field[i + 2] <= '7' &&
                           field[i + 3] >= '0' && field[i + 3] <= '7';
        if (!octal) {
            out += field[i];
            continue;
        }
        out += static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 +
                                 (field[i + 3] - '0'));
        i += 3;
    }
    return out;
}

}  // namespace

std::variant<std::vector<MountTable::Mount>, int> MountTable::mounts() {
    const UniqueFd fd(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC));
    if (!fd.valid()) return errno;
    std::string text;
    if (!FdIo::readAll(fd.get(), text)) return errno;
    // Each line: id, parent id, major:minor, root, mount point, options,
    // optional fields ended by "-", then the type. The fields are separated
    // by single spaces; spaces inside are escaped.
    std::vector<Mount> found;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string id, parent, device, root, point, field;
        if (!(fields >> id >> parent >> device >> root >> point)) continue;
        while (fields >> field && field != "-") {
        }
        std::string type, source;
        fields >> type >> source;
        found.push_back({unescaped(point), std::move(type), unescaped(root), unescaped(source)});
    }
    return found;
}

std::variant<std::vector<std::string>, int> MountTable::mountPoints() {
    auto table = mounts();
    if (const int* e = std::get_if<int>(&table)) return *e;
    std::vector<std::string> points;
    for (Mount& mount : std::get<std::vector<Mount>>(table))
        points.push_back(std::move(mount.point));
    return points;
}

}  // namespace kelvane
