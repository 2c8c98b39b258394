#include "test_user.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <vector>

extern char** environ;

namespace kelvane::test {
namespace {

constexpr const char* kFolderVariable = "KELVANE_MODEL_TEST_USER_FOLDER";
constexpr const char* kRunuser = "/usr/sbin/runuser";

}  // namespace

std::optional<std::string> testUserFolder() {
    const char* const folder = std::getenv(kFolderVariable);
    if (folder == nullptr) return std::nullopt;
    return std::string(folder);
}

bool canRerunAsTestUser() {
    return ::geteuid() == 0 && ::getpwnam("kelvane-test") != nullptr &&
           ::access(kRunuser, X_OK) == 0;
}

int rerunAsTestUser(const std::string& folder) {
    // runuser would resolve /proc/self/exe to itself, so pass the real path.
    std::array<char, PATH_MAX> self{};
    const ssize_t length = ::readlink("/proc/self/exe", self.data(), self.size() - 1);
    if (length <= 0) return -1;
    const auto* const test = ::testing::UnitTest::GetInstance()->current_test_info();
    std::vector<std::string> argv = {
        kRunuser,
        "-u",
        "kelvane-test",
        "--",
        std::string(self.data(), static_cast<std::size_t>(length)),
        std::string("--gtest_filter=") + test->test_suite_name() + "." + test->name()};
    std::vector<std::string> env;
    for (char** e = environ; *e != nullptr; ++e) env.emplace_back(*e);
    env.push_back(std::string(kFolderVariable) + "=" + folder);

    std::vector<char*> args;
    for (std::string& a : argv) args.push_back(a.data());
    args.push_back(nullptr);
    std::vector<char*> envp;
    for (std::string& e : env) envp.push_back(e.data());
    envp.push_back(nullptr);
    pid_t child = 0;
    if (::posix_spawn(&child, args[0], nullptr, nullptr, args.data(), envp.data()) != 0) return -1;
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace kelvane::test
