#include "scan/tool_run.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

extern char** environ;

namespace kelvane::test {
namespace {

// An unnamed temporary file, removed when its descriptor closes.
int scratchFile() {
    return ::open("/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
}

std::string drain(int fd) {
    std::string text;
    char chunk[65536];
    ::lseek(fd, 0, SEEK_SET);
    for (ssize_t n; (n = ::read(fd, chunk, sizeof chunk)) > 0;) text.append(chunk, n);
    ::close(fd);
    return text;
}

}  // namespace

ToolRun runTool(const std::vector<std::string>& argv, const std::string& input) {
    ToolRun run;
    const int in = scratchFile();
    const int out = scratchFile();
    const int err = scratchFile();
    if (in < 0 || out < 0 || err < 0 ||
        ::write(in, input.data(), input.size()) != static_cast<ssize_t>(input.size()) ||
        ::lseek(in, 0, SEEK_SET) != 0) {
        return run;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in, 0);
    posix_spawn_file_actions_adddup2(&actions, out, 1);
    posix_spawn_file_actions_adddup2(&actions, err, 2);
    std::vector<char*> args;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    pid_t child = 0;
    const int spawned = ::posix_spawn(&child, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(in);
    if (spawned == 0) {
        int status = 0;
        while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    run.out = drain(out);
    run.err = drain(err);
    return run;
}

}  // namespace kelvane::test
