#include "test_support.h"

#include <pwd.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "system/cleaner.h"
#include "system/shell.h"

namespace kelvane::test {
namespace {

constexpr const char* childMode = "KELVANE_SYSTEM_TEST_CHILD";

// Runs before main when this program was started as the deleting child:
// deletes the paths given as arguments, reports, exits.
void runChildMode() {
    const char* mode = std::getenv(childMode);
    if (mode == nullptr) return;
    std::ifstream cmdline("/proc/self/cmdline", std::ios::binary);
    std::vector<std::string> paths;
    for (std::string a; std::getline(cmdline, a, '\0');) paths.push_back(a);
    paths.erase(paths.begin());  // the program itself
    const DeleteOutcome outcome =
        Cleaner::deleteItems(paths, std::string(mode) == "permanent",
                             [](const std::string&) { return std::int64_t{0}; });
    for (const DeletedItem& item : outcome.deleted) std::cout << "deleted - " << item.path << "\n";
    const auto protectedPaths = outcome.protectedPaths();
    const auto denied = outcome.permissionDenied();
    for (const DeleteFailure& f : outcome.failures) {
        const auto in = [&](const auto& list) {
            return std::find(list.begin(), list.end(), f.path) != list.end();
        };
        std::cout << (in(protectedPaths) ? "protected "
                      : in(denied)       ? "denied "
                                         : "other ")
                  << Cleaner::underlyingErrno(f.error).value_or(-1) << " " << f.path << "\n";
    }
    std::cout.flush();
    std::_Exit(0);
}

[[maybe_unused]] const bool childModeChecked = (runChildMode(), true);

}  // namespace

TempDir::TempDir(const std::string& base) {
    std::string pattern = base + "/kelvane-system-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp " + pattern);
    path_ = pattern;
    chmod(path_.c_str(), 0755);  // reachable by the unprivileged account
}

TempDir::~TempDir() {
    const std::string q = Cleaner::shellQuoted(path_);
    sh("chattr -R -i " + q + " 2>/dev/null; chmod -R u+rwx " + q + " 2>/dev/null; rm -rf " + q);
}

ScopedEnv::ScopedEnv(std::string name, const std::string& value) : name_(std::move(name)) {
    if (const char* old = std::getenv(name_.c_str())) {
        had_ = true;
        old_ = old;
    }
    setenv(name_.c_str(), value.c_str(), 1);
}

ScopedEnv::~ScopedEnv() {
    had_ ? setenv(name_.c_str(), old_.c_str(), 1) : unsetenv(name_.c_str());
}

void writeFile(const std::string& path, const std::string& content) {
    std::ofstream file(path, std::ios::binary);
    if (!(file << content)) throw std::runtime_error("cannot write " + path);
}

std::string readFile(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

void makeFolder(const std::string& path) {
    if (mkdir(path.c_str(), 0755) != 0) throw std::runtime_error("cannot mkdir " + path);
}

bool exists(const std::string& path) {
    struct stat st {};
    return lstat(path.c_str(), &st) == 0;
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

bool canRunAsTestUser() {
    return getuid() == 0 && getpwnam("kelvane-test") != nullptr &&
           access("/usr/sbin/runuser", X_OK) == 0;
}

ShellResult deleteAsTestUser(const std::vector<std::string>& paths, bool permanent,
                             const std::string& home) {
    char self[4096];
    const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    if (n <= 0) return {-1, "", "readlink /proc/self/exe failed"};
    std::vector<std::string> arguments = {
        "-u",
        "kelvane-test",
        "--",
        "/usr/bin/env",
        std::string(childMode) + (permanent ? "=permanent" : "=trash"),
        "HOME=" + home,
        "XDG_DATA_HOME=" + home + "/.local/share",
        std::string(self, static_cast<std::size_t>(n))};
    arguments.insert(arguments.end(), paths.begin(), paths.end());
    return Shell::run("/usr/sbin/runuser", arguments);
}

}  // namespace kelvane::test
