#include "scan/temp_tree.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

extern char** environ;

namespace kelvane::testing {
namespace {

constexpr const char* kChildTreeVariable = "KELVANE_SCAN_TEST_TREE";

bool ok(int result, const std::string& what) {
    if (result == 0) return true;
    ADD_FAILURE() << what << ": " << std::strerror(errno);
    return false;
}

}  // namespace

TempTree::TempTree() {
    std::string pattern = "/tmp/kelvane-scan-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
        ADD_FAILURE() << "mkdtemp: " << std::strerror(errno);
        return;
    }
    path_ = pattern;
    ok(::chmod(path_.c_str(), 0755), "chmod " + path_);
}

TempTree::~TempTree() {
    // rm copes with modes, odd names and paths deeper than PATH_MAX.
    if (!path_.empty()) runProgram({"/bin/rm", "-rf", "--", path_});
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

std::int64_t allocated(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) return -1;
    return static_cast<std::int64_t>(status.st_blocks) * 512;
}

int runProgram(const std::vector<std::string>& argv, const std::vector<std::string>& extraEnv) {
    std::vector<std::string> env(extraEnv);
    for (char** e = environ; *e != nullptr; ++e) env.emplace_back(*e);
    std::vector<char*> args;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    std::vector<char*> envp;
    for (const std::string& e : env) envp.push_back(const_cast<char*>(e.c_str()));
    envp.push_back(nullptr);
    pid_t child = 0;
    if (::posix_spawn(&child, args[0], nullptr, nullptr, args.data(), envp.data()) != 0) return -1;
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::optional<std::string> childTree() {
    const char* const tree = std::getenv(kChildTreeVariable);
    if (tree == nullptr) return std::nullopt;
    return std::string(tree);
}

void checkAsTestUser(const std::string& tree,
                     const std::function<void(const std::string&)>& check) {
    if (::geteuid() != 0) {
        check(tree);
        return;
    }
    // runuser would resolve /proc/self/exe to itself, so pass the real path of this program.
    std::array<char, PATH_MAX> self{};
    const ssize_t length = ::readlink("/proc/self/exe", self.data(), self.size() - 1);
    ASSERT_GT(length, 0) << std::strerror(errno);
    const auto* const test = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string filter =
        std::string("--gtest_filter=") + test->test_suite_name() + "." + test->name();
    const int status = runProgram(
        {"/usr/sbin/runuser", "-u", "kelvane-test", "--", std::string(self.data(), length), filter},
        {std::string(kChildTreeVariable) + "=" + tree});
    EXPECT_EQ(status, 0)
        << "the checks run as kelvane-test failed (see its output above); "
           "status -1 or 1 with no output: is the user missing? (scripts/setup.sh)";
}

}  // namespace kelvane::testing
