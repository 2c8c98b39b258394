#include "system/shell.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>

#include "core/unique_fd.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::TempTree;
using test::writeScript;

TEST(ShellRun, ProgramThatCannotStartGivesMinusOneAndAReason) {
    TempTree dir;
    const ShellResult missing = Shell::run(dir / "no-such-program", {});
    EXPECT_EQ(missing.status, -1);
    EXPECT_EQ(missing.out, "");
    // Our own Japanese, whatever the process locale.
    EXPECT_EQ(missing.err, "プログラム「no-such-program」を起動できませんでした: 項目が見つかりません");
    test::writeFile(dir / "not-executable", "#!/bin/sh\n");
    EXPECT_EQ(Shell::run(dir / "not-executable", {}).status, -1);
    // No PATH search: a bare name is not looked up.
    EXPECT_EQ(Shell::run("sh", {"-c", "true"}).status, -1);
}

TEST(ShellRun, DrainsMegabytesOnStandardErrorWithNothingOnStandardOutput) {
    TempTree dir;
    // Far more than a pipe holds: the child would hang if standard error were
    // read only after standard output had closed.
    const std::string program = writeScript(
        dir.path(), "noisy", "head -c 8388608 /dev/zero | tr '\\0' x >&2; echo done >&2");
    const ShellResult r = Shell::run(program, {});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "");
    ASSERT_EQ(r.err.size(), 8388608u + 5u);
    EXPECT_EQ(r.err.find_first_not_of('x'), 8388608u);
}

TEST(ShellRun, ArgumentsVerbatimOutputRepairedAndTheStatusOrSignalBack) {
    TempTree dir;
    struct Case {
        std::string body;
        std::vector<std::string> args;
        int status;
        std::string out;
    } cases[] = {
        {R"(printf '[%s]' "$@"; exit 7)", {"a b", "$(echo no)", "'\"\\", "-x", ""}, 7,
         "[a b][$(echo no)]['\"\\][-x][]"},
        // The trailing line feed stays; invalid bytes become U+FFFD.
        {R"(printf 'ok \377 \303\251\n')", {}, 0, "ok \xEF\xBF\xBD \xC3\xA9\n"},
        // Killed by a signal: its number.
        {"echo before; kill -9 $$", {}, 9, "before\n"},
    };
    for (const Case& c : cases) {
        const ShellResult r = Shell::run(writeScript(dir.path(), "program", c.body), c.args);
        EXPECT_EQ(r.status, c.status) << c.body;
        EXPECT_EQ(r.out, c.out) << c.body;
    }
}

TEST(ShellRun, LeaksNoDescriptorIntoTheChild) {
    // Not even one opened without close-on-exec by someone else.
    UniqueFd stray(::open("/dev/null", O_RDONLY));
    ASSERT_TRUE(stray.valid());
    // 0, 1, 2 and the one ls opens for the listing itself.
    EXPECT_EQ(Shell::run("/bin/ls", {"/proc/self/fd"}).out, "0\n1\n2\n3\n");
}

TEST(ShellRun, InputIsFedWhileOutputIsDrainedAndAChildThatIgnoresItIsNoError) {
    // Megabytes each way: writing all input before reading any output would
    // deadlock on full pipes.
    std::string input(6 << 20, 'x');
    for (std::size_t i = 0; i < input.size(); i += 4093) input[i] = '\0';
    const ShellResult echoed = Shell::runWithInput("/bin/cat", {}, input);
    EXPECT_EQ(echoed.status, 0);
    EXPECT_TRUE(echoed.out == input);
    // A child that exits at once: the write fails with EPIPE, which must
    // neither kill us (SIGPIPE) nor leave a signal pending.
    const ShellResult ignored = Shell::runWithInput("/bin/true", {}, input);
    EXPECT_EQ(ignored.status, 0);
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
}

TEST(ShellAdmin, RunsTheCommandThroughShAndMarksADismissalWithMinus128) {
    TempTree dir;
    // Stands in for pkexec: records its arguments, then runs them.
    const std::string elevator = writeScript(
        dir.path(), "elevator", "printf '%s\\n' \"$@\" > \"$(dirname \"$0\")/argv\"; exec \"$@\"");
    const ShellResult ran = Shell::adminVia(elevator, "echo it ran; exit 3");
    EXPECT_EQ(ran.status, 3);
    EXPECT_EQ(ran.out, "it ran\n");
    EXPECT_EQ(test::readFile(dir / "argv"), "/bin/sh\n-c\necho it ran; exit 3\n");

    const std::string dismissed =
        writeScript(dir.path(), "dismissed", "echo 'Request dismissed' >&2; exit 126");
    const ShellResult cancelled = Shell::adminVia(dismissed, "true");
    EXPECT_NE(cancelled.status, 0);
    EXPECT_NE(cancelled.err.find("Request dismissed"), std::string::npos);
    EXPECT_NE(cancelled.err.find("-128"), std::string::npos);
    // No authentication agent (127) is a failure, not a cancellation.
    const ShellResult failed = Shell::adminVia(writeScript(dir.path(), "noagent", "exit 127"), "");
    EXPECT_EQ(failed.status, 127);
    EXPECT_EQ(failed.err.find("-128"), std::string::npos);
}

}  // namespace
}  // namespace kelvane
