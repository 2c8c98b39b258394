#include "support/temp_tree.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/run_as_test_user.h"

namespace kelvane::test {
namespace {

bool ok(int result, const std::string& what) {
    if (result == 0) return true;
    ADD_FAILURE() << what << ": " << std::strerror(errno);
    return false;
}

// Sets or clears the immutable flag; errno on failure.
int setImmutable(const std::string& path, bool on) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return errno;
    int flags = 0;
    int result = ::ioctl(fd, FS_IOC_GETFLAGS, &flags);
    if (result == 0) {
        flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
        result = ::ioctl(fd, FS_IOC_SETFLAGS, &flags);
    }
    const int error = result == 0 ? 0 : errno;
    ::close(fd);
    return error;
}

}  // namespace

Immutable::Immutable(std::string path)
    : path_(std::move(path)), error_(setImmutable(path_, true)) {}

Immutable::~Immutable() {
    if (error_ == 0) setImmutable(path_, false);
}

TempTree::TempTree(const std::string& base) {
    std::string pattern = base + "/kelvane-test-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
        ADD_FAILURE() << "mkdtemp " << pattern << ": " << std::strerror(errno);
        return;
    }
    path_ = pattern;
    ok(::chmod(path_.c_str(), 0755), "chmod " + path_);
}

TempTree::~TempTree() {
    // rm copes with odd names and paths deeper than PATH_MAX, once flags and modes allow it.
    if (path_.empty()) return;
    runProgram({"/bin/sh", "-c",
                "chattr -R -i \"$1\" 2>/dev/null; chmod -R u+rwx \"$1\" 2>/dev/null; rm -rf \"$1\"",
                "sh", path_});
}

bool TempTree::dir(const std::string& relative, unsigned mode) const {
    const std::string p = *this / relative;
    return ok(::mkdir(p.c_str(), 0755), "mkdir " + p) && ok(::chmod(p.c_str(), mode), "chmod " + p);
}

bool TempTree::file(const std::string& relative, std::size_t bytes) const {
    const std::string p = *this / relative;
    const int fd = ::open(p.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0) return ok(-1, "open " + p);
    const std::string data(bytes, 'k');
    const bool written = ::write(fd, data.data(), data.size()) == static_cast<ssize_t>(data.size());
    const bool closed = ::close(fd) == 0;
    return ok(written && closed ? 0 : -1, "write " + p);
}

bool TempTree::symlink(const std::string& target, const std::string& relative) const {
    const std::string p = *this / relative;
    return ok(::symlink(target.c_str(), p.c_str()), "symlink " + p);
}

bool TempTree::hardlink(const std::string& existing, const std::string& relative) const {
    const std::string p = *this / relative;
    return ok(::link((*this / existing).c_str(), p.c_str()), "link " + p);
}

std::string readFile(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

bool exists(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

std::int64_t allocated(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) return -1;
    return static_cast<std::int64_t>(status.st_blocks) * 512;
}

void writeFileOfSize(const std::string& path, std::size_t bytes) {
    const std::filesystem::path p = path;
    std::filesystem::create_directories(p.parent_path());
    std::ofstream out(p, std::ios::binary);
    out << std::string(bytes, 'x');
}

}  // namespace kelvane::test
