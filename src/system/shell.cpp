#include "system/shell.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>
#include <vector>

#include "core/path_text.h"
#include "core/unique_fd.h"
#include "system/error_text.h"
#include "system/utf8_repair.h"

extern char** environ;

namespace kelvane {
namespace {

constexpr const char* pkexecPath = "/usr/bin/pkexec";
// pkexec's status when the user dismissed the dialog or was not authorised.
constexpr int pkexecDismissed = 126;
constexpr int pipeBytes = 1 << 20;

std::string programName(const std::string& executable) {
    return PathText::lastComponent(executable);
}

ShellResult launchFailure(const std::string& executable, int errnum) {
    return {-1, "",
            "プログラム「" + programName(executable) +
                "」を起動できませんでした: " + ErrorText::posix(errnum)};
}

// The spawn attributes and file actions, released whatever happens.
struct SpawnSetup {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    bool actionsReady = false;
    bool attributesReady = false;
    ~SpawnSetup() {
        if (actionsReady) posix_spawn_file_actions_destroy(&actions);
        if (attributesReady) posix_spawnattr_destroy(&attributes);
    }
};

struct Pipe {
    UniqueFd read;
    UniqueFd write;
};

// A copy of `fd` at 3 or above. A program started with standard streams
// closed gets pipe ends numbered 0 to 2, which the child's dup2 onto 1 and 2
// would clobber.
int aboveStandardStreams(UniqueFd& fd) {
    if (fd.get() > STDERR_FILENO) return 0;
    UniqueFd moved(fcntl(fd.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!moved.valid()) return errno;
    fd = std::move(moved);
    return 0;
}

int makePipe(Pipe& p) {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return errno;
    p.read.reset(fds[0]);
    p.write.reset(fds[1]);
    if (const int e = aboveStandardStreams(p.read)) return e;
    if (const int e = aboveStandardStreams(p.write)) return e;
    // A larger pipe means fewer wake-ups for a chatty child; the system may
    // refuse (a per-user limit), and then the default size merely costs time.
    (void)fcntl(p.read.get(), F_SETPIPE_SZ, pipeBytes);
    return 0;
}

// Keeps SIGPIPE from this thread while it writes to a child that may have
// exited: the write then fails with EPIPE instead of ending the whole
// application. A SIGPIPE raised meanwhile is taken off before unblocking.
class SigpipeBlock {
  public:
    SigpipeBlock() {
        sigemptyset(&pipe_);
        sigaddset(&pipe_, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        alreadyPending_ = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &pipe_, &old_);
    }
    ~SigpipeBlock() {
        if (!alreadyPending_) {
            const timespec zero{0, 0};
            while (sigtimedwait(&pipe_, nullptr, &zero) == SIGPIPE) {
            }
        }
        pthread_sigmask(SIG_SETMASK, &old_, nullptr);
    }
    SigpipeBlock(const SigpipeBlock&) = delete;
    SigpipeBlock& operator=(const SigpipeBlock&) = delete;

  private:
    sigset_t pipe_{};
    sigset_t old_{};
    bool alreadyPending_ = false;
};

// Feeds `input` to the child and reads both output pipes until both are
// closed, whichever is ready first, so the child never blocks on a full pipe
// while we wait on another one.
int drain(UniqueFd& inFd, std::string_view input, UniqueFd& outFd, UniqueFd& errFd,
          std::string& out, std::string& err) {
    std::vector<char> buffer(1 << 20);
    if (inFd.valid() && input.empty()) inFd.reset();
    while (outFd.valid() || errFd.valid() || inFd.valid()) {
        pollfd fds[3] = {
            {outFd.get(), POLLIN, 0}, {errFd.get(), POLLIN, 0}, {inFd.get(), POLLOUT, 0}};
        if (poll(fds, 3, -1) < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        if (fds[2].fd >= 0 && fds[2].revents != 0) {
            const ssize_t n = ::write(inFd.get(), input.data(), input.size());
            if (n > 0) {
                input.remove_prefix(static_cast<std::size_t>(n));
                if (input.empty()) inFd.reset();
            } else if (n < 0 && errno != EINTR && errno != EAGAIN) {
                // EPIPE: the child stopped reading; what it does with
                // that is its own business.
                inFd.reset();
            }
        }
        for (int k = 0; k < 2; ++k) {
            if (fds[k].fd < 0 || fds[k].revents == 0) continue;
            UniqueFd& fd = k == 0 ? outFd : errFd;
            std::string& sink = k == 0 ? out : err;
            const ssize_t n = ::read(fd.get(), buffer.data(), buffer.size());
            if (n > 0) {
                sink.append(buffer.data(), static_cast<std::size_t>(n));
            } else if (n == 0 || errno != EINTR) {
                fd.reset();
            }
        }
    }
    return 0;
}

int waitForExit(pid_t pid, int& status) {
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) return errno;
    }
    return 0;
}

ShellResult runProcess(const std::string& executable, const std::vector<std::string>& arguments,
                       const std::string* input) {
    Pipe outPipe, errPipe, inPipe;
    if (const int e = makePipe(outPipe)) return launchFailure(executable, e);
    if (const int e = makePipe(errPipe)) return launchFailure(executable, e);
    if (input != nullptr) {
        if (const int e = makePipe(inPipe)) return launchFailure(executable, e);
        if (fcntl(inPipe.write.get(), F_SETFL, O_NONBLOCK) != 0) {
            return launchFailure(executable, errno);
        }
    }

    SpawnSetup setup;
    if (const int e = posix_spawn_file_actions_init(&setup.actions)) {
        return launchFailure(executable, e);
    }
    setup.actionsReady = true;
    if (const int e = posix_spawnattr_init(&setup.attributes)) return launchFailure(executable, e);
    setup.attributesReady = true;

    // dup2 clears close-on-exec on the copies only; every other descriptor,
    // including ones opened without O_CLOEXEC by other code, is closed in the
    // child so nothing of ours leaks into it.
    int e = 0;
    if (input != nullptr) {
        e = posix_spawn_file_actions_adddup2(&setup.actions, inPipe.read.get(), STDIN_FILENO);
    }
    if (!e)
        e = posix_spawn_file_actions_adddup2(&setup.actions, outPipe.write.get(), STDOUT_FILENO);
    if (!e)
        e = posix_spawn_file_actions_adddup2(&setup.actions, errPipe.write.get(), STDERR_FILENO);
    if (!e) e = posix_spawn_file_actions_addclosefrom_np(&setup.actions, STDERR_FILENO + 1);
    // The child starts with default signal handling and nothing blocked, even
    // if this thread blocks or ignores signals (an ignored SIGPIPE would
    // otherwise survive exec and change how the child fails).
    sigset_t empty, defaults;
    sigemptyset(&empty);
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    sigaddset(&defaults, SIGINT);
    sigaddset(&defaults, SIGQUIT);
    if (!e) e = posix_spawnattr_setsigmask(&setup.attributes, &empty);
    if (!e) e = posix_spawnattr_setsigdefault(&setup.attributes, &defaults);
    if (!e) {
        e = posix_spawnattr_setflags(&setup.attributes,
                                     POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    if (e) return launchFailure(executable, e);

    std::vector<char*> argv;
    argv.reserve(arguments.size() + 2);
    argv.push_back(const_cast<char*>(executable.c_str()));
    for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);

    pid_t pid = 0;
    // posix_spawn, not posix_spawnp: the executable is taken as given, never
    // looked up along PATH.
    if (const int spawnError = posix_spawn(&pid, executable.c_str(), &setup.actions,
                                           &setup.attributes, argv.data(), environ)) {
        return launchFailure(executable, spawnError);
    }
    // Our copies of the writing ends must go, or the pipes never report EOF.
    outPipe.write.reset();
    errPipe.write.reset();
    inPipe.read.reset();

    std::string out, err;
    int drainError = 0;
    {
        const SigpipeBlock noSigpipe;
        drainError = drain(inPipe.write, input != nullptr ? std::string_view(*input) : "",
                           outPipe.read, errPipe.read, out, err);
    }
    inPipe.write.reset();
    outPipe.read.reset();
    errPipe.read.reset();
    int wstatus = 0;
    if (const int waitError = waitForExit(pid, wstatus)) {
        return {-1, repairedUtf8(out),
                "プログラム「" + programName(executable) +
                    "」の終了を確認できませんでした: " + ErrorText::posix(waitError)};
    }
    if (drainError)
        err += "\nプログラム「" + programName(executable) +
               "」の出力を読めませんでした: " + ErrorText::posix(drainError);

    int status = -1;
    if (WIFEXITED(wstatus)) {
        status = WEXITSTATUS(wstatus);
    } else if (WIFSIGNALED(wstatus)) {
        // Like the platform's termination status: the signal's number.
        status = WTERMSIG(wstatus);
    }
    repairUtf8(out);
    repairUtf8(err);
    return {status, std::move(out), std::move(err)};
}

}  // namespace

ShellResult Shell::run(const std::string& executable, const std::vector<std::string>& arguments) {
    return runProcess(executable, arguments, nullptr);
}

ShellResult Shell::runWithInput(const std::string& executable,
                                const std::vector<std::string>& arguments,
                                const std::string& input) {
    return runProcess(executable, arguments, &input);
}

std::string Shell::quoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) {
        if (c == '\'') {
            quoted += "'\\''";
        } else {
            quoted += c;
        }
    }
    quoted += '\'';
    return quoted;
}

ShellResult Shell::adminVia(const std::string& elevator, const std::string& command) {
    ShellResult result = run(elevator, {"/bin/sh", "-c", command});
    if (result.status == pkexecDismissed) {
        // The flows recognise a cancelled password dialog by "-128", the
        // number the platform's own dialog reports.
        if (!result.err.empty() && result.err.back() != '\n') result.err += '\n';
        result.err += "認証が取り消されました (-128)";
    }
    return result;
}

ShellResult Shell::admin(const std::string& command) {
    return adminVia(pkexecPath, command);
}

}  // namespace kelvane
