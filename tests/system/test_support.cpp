#include "test_support.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>

#include "system/shell.h"

namespace kelvane::test {
void writeFile(const std::string& path, const std::string& content) {
    std::ofstream file(path, std::ios::binary);
    if (!(file << content)) throw std::runtime_error("cannot write " + path);
}

void makeFolder(const std::string& path) {
    if (mkdir(path.c_str(), 0755) != 0) throw std::runtime_error("cannot mkdir " + path);
}

std::string writeScript(const std::string& folder, const std::string& name,
                        const std::string& body) {
    const std::string path = folder + "/" + name;
    writeFile(path, "#!/bin/sh\n" + body + "\n");
    chmod(path.c_str(), 0755);
    return path;
}

ShellResult sh(const std::string& command) {
    return Shell::run("/bin/sh", {"-c", command});
}

}  // namespace kelvane::test
