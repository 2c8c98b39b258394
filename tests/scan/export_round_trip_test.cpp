// kelvane-scan against the real tools: du's totals, ncdu's and gdu's exports both ways.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <set>
#include <string>
#include <variant>
#include <vector>

#include "core/unique_fd.h"
#include "scan/export_walk.h"
#include "scan/exported_tree.h"
#include "scan/tool_run.h"
#include "support/scoped_mount.h"
#include "support/temp_tree.h"

using namespace kelvane;
using kelvane::test::readFile;
using kelvane::test::runTool;
using kelvane::test::TempTree;
using kelvane::test::ToolRun;

namespace {

const std::string kScan = KELVANE_SCAN_PROGRAM;
const std::string kDu = "/usr/bin/du";
const std::string kNcdu = "/usr/bin/ncdu";
const std::string kGdu = "/usr/bin/gdu";

// Names that break naive writers and readers: newline, quote, backslash, bytes that are not
// UTF-8, control characters, DEL, and Japanese.
const std::vector<std::string> kOddNames = {
    "new\nline", "q\"uote", "back\\slash", "bad\xff\xfename", "ctl\x01x",
    "del\x7f",   "日本",    "tab\tx",      "sp ace"};

std::string entriesOf(const std::string& exportText) {
    // The first line holds the version and the writer's metadata; the tree follows.
    const std::size_t lineEnd = exportText.find('\n');
    std::string tree = exportText.substr(lineEnd == std::string::npos ? 0 : lineEnd + 1);
    while (!tree.empty() && tree.back() == '\n') tree.pop_back();
    return tree;
}

class ExportRoundTrip : public ::testing::Test {
  protected:
    void SetUp() override {
        for (const std::string& tool : {kDu, kNcdu, kGdu}) {
            if (::access(tool.c_str(), X_OK) != 0) GTEST_SKIP() << tool << " is not installed";
        }
        for (const char* folder : {"root", "root/a", "root/a/b", "root/deep", "root/deep/er",
                                   "root/deep/er/est", "root/empty"}) {
            ASSERT_TRUE(t.dir(folder));
        }
        ASSERT_TRUE(t.file("root/a/f1", 5000) && t.hardlink("root/a/f1", "root/a/b/hl") &&
                    t.hardlink("root/a/f1", "root/deep/hl2"));
        ASSERT_TRUE(t.symlink("f1", "root/a/sl") && t.file("root/deep/er/est/big", 200000));
        ASSERT_EQ(::mkfifo((t / "root/fifo").c_str(), 0644), 0);
        for (const std::string& name : kOddNames) ASSERT_TRUE(t.file("root/" + name, 10));
        // Deeper than the export walk keeps folders open: the outer ones are parked and reopened.
        std::string chain = "root";
        for (int level = 0; level < 80; ++level) {
            chain += "/c";
            ASSERT_TRUE(t.dir(chain) && t.file(chain + "/f", 1000));
        }
        ASSERT_TRUE(t.dir("root/mnt"));
        mount_ = std::make_unique<test::ScopedMount>(test::ScopedMount::tmpfs(t / "root/mnt"));
        if (mount_->error() == 0) test::writeFileOfSize(t / "root/mnt/inside", 100000);
        root_ = t / "root";
    }

    std::string duTotal() const {
        const ToolRun du = runTool({kDu, "-sB1", "-x", root_});
        EXPECT_EQ(du.status, 0) << du.err;
        return du.out.substr(0, du.out.find('\t'));
    }

    // The number before the tab of a "BYTES<TAB>PATH" line.
    static std::string totalOf(const ToolRun& run) {
        EXPECT_EQ(run.status, 0) << run.err;
        return run.out.substr(0, run.out.find('\t'));
    }

    TempTree t;
    std::unique_ptr<test::ScopedMount> mount_;
    std::string root_;
};

// Every way to the total gives du's figure, and ncdu writes the same entries as we do and reads
// ours back unchanged.
TEST_F(ExportRoundTrip, EveryWayToTheTotalGivesDusFigureAndNcduAgreesOnTheEntries) {
    const std::string ours = t / "ours.json";
    const std::string theirs = t / "ncdu.json";
    const std::string again = t / "again.json";
    const std::string expected = duTotal();
    const auto scan = [&](std::vector<std::string> args, const std::string& input = {}) {
        args.insert(args.begin(), kScan);
        return totalOf(runTool(args, input));
    };
    EXPECT_EQ(scan({root_}), expected) << "walk";
    EXPECT_EQ(scan({"-x", "--threads", "1", root_}), expected) << "walk with -x on one thread";
    EXPECT_EQ(scan({"-f", "-"}, runTool({kScan, "-o", "-", root_}).out), expected)
        << "export through standard output and input";
    ASSERT_EQ(runTool({kNcdu, "-x", "-o", theirs, root_}).status, 0);
    EXPECT_EQ(scan({"-f", theirs}), expected) << "ncdu's export";
    // With several threads the subtrees are written apart and put together in tree order.
    for (const char* threads : {"1", "2", "4"}) {
        EXPECT_EQ(scan({"-x", "--threads", threads, "-o", ours, root_}), expected) << threads;
        EXPECT_EQ(entriesOf(readFile(ours)), entriesOf(readFile(theirs))) << threads << " threads";
    }
    EXPECT_EQ(scan({"-f", ours}), expected) << "own export read back";

    ASSERT_EQ(runTool({kNcdu, "-f", ours, "-o", again}).status, 0);
    EXPECT_EQ(scan({"-f", again}), expected) << "own export re-exported by ncdu";
    std::string reexported = entriesOf(readFile(again));
    // ncdu 1.18 reads back a mount point it left out ("othfs") as left out by a pattern.
    for (std::size_t at; (at = reexported.find("\"excluded\":\"pattern\"")) != std::string::npos;)
        reexported.replace(at, 20, "\"excluded\":\"othfs\"");
    EXPECT_EQ(reexported, entriesOf(readFile(ours)));

    // The names come back byte for byte from both writers.
    for (const std::string& file : {ours, theirs}) {
        const auto loaded = ExportedTree::parse(readFile(file));
        ASSERT_TRUE(std::holds_alternative<ExportedTree>(loaded)) << file;
        const auto& tree = std::get<ExportedTree>(loaded);
        std::set<std::string> names;
        for (const ExportedTree::Id id : tree.children(tree.root())) names.emplace(tree.name(id));
        for (const std::string& name : kOddNames) EXPECT_EQ(names.count(name), 1U) << file;
    }
}

TEST_F(ExportRoundTrip, GduExportCountsWhatItHolds) {
    // gdu leaves folder sizes out and marks only the later names of a hard-linked file; what
    // its export holds is summed here by a general JSON parser, marked names once per inode,
    // which is how ncdu reads it too.
    const std::string exported = t / "gdu.json";
    ASSERT_EQ(runTool({kGdu, "-x", "-o", exported, root_}).status, 0);
    const nlohmann::json document = nlohmann::json::parse(readFile(exported));
    std::set<std::uint64_t> linked;
    std::int64_t held = 0;
    std::vector<const nlohmann::json*> pending{&document.at(3)};
    while (!pending.empty()) {
        const nlohmann::json& node = *pending.back();
        pending.pop_back();
        if (node.is_array()) {
            for (const nlohmann::json& element : node) pending.push_back(&element);
            continue;
        }
        if (node.value("hlnkc", false) &&
            !linked.insert(node.at("ino").get<std::uint64_t>()).second)
            continue;
        held += node.value("dsize", std::int64_t{0});
    }
    EXPECT_GT(linked.size(), 0U);  // the tree's hard links are in the export
    EXPECT_EQ(totalOf(runTool({kScan, "-f", exported})), std::to_string(held));
}

// A category's several roots go out as one tree under the folder they share, holding the way down
// to each and nothing else; ncdu reads it and writes the same entries again.
TEST_F(ExportRoundTrip, SeveralRootsMakeOneTreeThatNcduReads) {
    const std::string exported = t / "roots.json";
    {
        const UniqueFd out(::open(exported.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
        ASSERT_TRUE(out.valid());
        std::int64_t lastItems = 0;
        const ExportWalkResult result = exportRoots(
            {root_ + "/deep/er/", root_ + "/a", root_ + "/deep/er/est", root_ + "/gone"}, out.get(),
            [&](std::int64_t items, std::int64_t) { return (lastItems = items) >= 0; });
        EXPECT_EQ(result.rootErrno, 0);
        EXPECT_EQ(result.writeErrno, 0);
        EXPECT_EQ(result.stats.unreadable, 1);  // "gone"
    }
    const ToolRun du = runTool({kDu, "-sB1", "-x", "-c", root_ + "/a", root_ + "/deep/er"});
    const std::string total = du.out.substr(du.out.rfind('\n', du.out.size() - 2) + 1);
    const auto loaded = ExportedTree::parse(readFile(exported));
    ASSERT_TRUE(std::holds_alternative<ExportedTree>(loaded));
    const auto& tree = std::get<ExportedTree>(loaded);
    EXPECT_EQ(std::to_string(tree.bytes(tree.root())), total.substr(0, total.find('\t')));
    EXPECT_EQ(tree.path(tree.root()), root_);
    ASSERT_TRUE(tree.find(root_ + "/deep/er/est/big") && tree.find(root_ + "/a/b/hl"));
    EXPECT_EQ(tree.children(*tree.find(root_ + "/deep")).size(), 1U);  // only the way down
    EXPECT_TRUE(tree.hadReadError(*tree.find(root_ + "/gone")));
    EXPECT_EQ(tree.find(root_ + "/empty"), std::nullopt);

    const std::string again = t / "roots-again.json";
    ASSERT_EQ(runTool({kNcdu, "-f", exported, "-o", again}).status, 0);
    EXPECT_EQ(entriesOf(readFile(again)), entriesOf(readFile(exported)));
}

TEST(KelvaneScan, RefusesWhatItCannotDoWithAReason) {
    TempTree t;
    ASSERT_TRUE(t.file("truncated.json", 0));
    const std::string truncated = "[1,2,{},[{\"name\":\"/x\"},{\"name\":\"y\",\"dsize\":1";
    struct Case {
        std::vector<std::string> args;
        std::string input;
        int status;
        std::string says;
    };
    const std::vector<Case> cases = {
        {{t / "missing"}, "", 1, "見つかりません"},
        {{"--cross-mounts", t.path()}, "", 2, "対応していません"},
        {{"-f", "-"}, truncated, 1, "（44 バイト目）: 途中で終わっています"},
        {{"-f", t / "missing.json"}, "", 1, "開けません"},
        {{"-o", t / "no/such/folder.json", t.path()}, "", 1, "書き込めません"},
        {{"--threads", "0", t.path()}, "", 2, "--threads"},
        {{}, "", 2, "使い方"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> argv{kScan};
        argv.insert(argv.end(), c.args.begin(), c.args.end());
        const ToolRun run = runTool(argv, c.input);
        EXPECT_EQ(run.status, c.status) << c.says;
        EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
        EXPECT_EQ(run.out, "") << c.says;
    }
}

TEST(KelvaneScan, AnUnreadableRootIsAnErrorNotAZero) {
    if (::geteuid() != 0 || ::access("/usr/sbin/runuser", X_OK) != 0) {
        GTEST_SKIP() << "needs root to run as the kelvane-test account";
    }
    if (runTool({"/usr/bin/id", "kelvane-test"}).status != 0) GTEST_SKIP() << "no kelvane-test";
    TempTree t;
    ASSERT_TRUE(t.dir("closed", 0700) && t.file("closed/f", 100));
    for (const std::vector<std::string>& mode : {std::vector<std::string>{}, {"-o", "/dev/null"}}) {
        std::vector<std::string> argv{"/usr/sbin/runuser", "-u", "kelvane-test", "--", kScan};
        argv.insert(argv.end(), mode.begin(), mode.end());
        argv.push_back(t / "closed");
        const ToolRun run = runTool(argv);
        EXPECT_EQ(run.status, 1);
        EXPECT_NE(run.err.find("読み取れません"), std::string::npos) << run.err;
    }
}

}  // namespace
