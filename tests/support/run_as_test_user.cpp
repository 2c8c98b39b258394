#include "support/run_as_test_user.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>

extern char** environ;

namespace kelvane::test {
namespace {

constexpr const char* kFolderVariable = "KELVANE_TEST_USER_FOLDER";
constexpr const char* kRunuser = "/usr/sbin/runuser";

}  // namespace

std::optional<std::string> testUserFolder() {
    const char* const folder = std::getenv(kFolderVariable);
    if (folder == nullptr) return std::nullopt;
    return std::string(folder);
}

bool canRunAsTestUser() {
    return ::geteuid() == 0 && ::getpwnam("kelvane-test") != nullptr &&
           ::access(kRunuser, X_OK) == 0;
}

int rerunAsTestUser(const std::string& folder) {
    // runuser would resolve /proc/self/exe to itself, so pass the real path.
    std::array<char, PATH_MAX> self{};
    const ssize_t length = ::readlink("/proc/self/exe", self.data(), self.size() - 1);
    if (length <= 0) return -1;
    const auto* const test = ::testing::UnitTest::GetInstance()->current_test_info();
    return runProgram(
        {kRunuser, "-u", "kelvane-test", "--",
         std::string(self.data(), static_cast<std::size_t>(length)),
         std::string("--gtest_filter=") + test->test_suite_name() + "." + test->name()},
        {std::string(kFolderVariable) + "=" + folder});
}

void checkAsTestUser(const std::string& folder,
                     const std::function<void(const std::string&)>& check) {
    if (::geteuid() != 0) return check(folder);
    if (!canRunAsTestUser()) GTEST_SKIP() << "needs runuser and the kelvane-test account";
    EXPECT_EQ(rerunAsTestUser(folder), 0) << "the checks run as kelvane-test failed (see above)";
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

}  // namespace kelvane::test
