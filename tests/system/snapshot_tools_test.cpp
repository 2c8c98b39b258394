#include "system/snapshot_tools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "system/snapshot_listing.h"
#include "test_support.h"

namespace kelvane {
namespace {

using Maker = LocalSnapshot::Maker;

// What the tools printed on this machine (snapper 0.10.4, timeshift 22.11.2,
// btrfs-progs 6.2), trimmed to the lines that matter.
const char* const kSnapperJson = R"({
  "kvt": [
    {"config": "kvt", "subvolume": "/mnt/data", "number": 0, "date": "", "used-space": null,
     "description": "current"},
    {"config": "kvt", "subvolume": "/mnt/data", "number": 1, "date": "2026-11-24 22:10:39",
     "used-space": 16384, "description": "first \u00fc"},
    {"config": "kvt", "subvolume": "/mnt/data", "number": 2, "date": "2026-11-24 22:10:39",
     "used-space": null, "description": "two, \"q\""}
  ],
  "root": [
    {"config": "root", "subvolume": "/", "number": 7, "date": "2026-11-20 08:00:00",
     "used-space": 4210688, "description": ""}
  ]
})";

const char* const kTimeshiftList =
    "E: Error opening directory '/dev/mapper': No such file or directory\n"
    "Mounted '/dev/loop1' at '/run/timeshift/9271/backup'\n\n"
    "Device : /dev/loop1\nMode   : RSYNC\nStatus : OK\n3 snapshots, 3.1 GB free\n\n"
    "Num     Name                 Tags  Description                  \n"
    "------------------------------------------------------------------------------\n"
    "0    >  2026-11-24_21-48-29  D     first test snapshot          \n"
    "1    >  2026-11-24_21-48-41  O     second: \"quoted\", \xc3\xbcn\xc3\xaf"
    "code  \n"
    "2    >  2026-11-24_21-48-44  W M                                \n\n";

const char* const kBtrfsList =
    "ID 257 gen 9 cgen 9 top level 5 otime 2026-11-24 22:10:39 parent_uuid "
    "73baadf5-5894-f248-9b1c-7852e83c6f9c uuid a0a2746b-6ded-5a42-902d-b8291fb029e3 path ro1\n"
    "ID 261 gen 14 cgen 14 top level 257 otime 2026-11-24 22:11:00 parent_uuid "
    "73baadf5-5894-f248-9b1c-7852e83c6f9c uuid e81f54e2-c8fe-4549-b1a9-86ebe1f3927b path home/"
    "nested sub\n";

const char* const kQgroups =
    "Qgroupid    Referenced    Exclusive  Max referenced  Max exclusive   Path \n"
    "--------    ----------    ---------  --------------  -------------   ---- \n"
    "0/5              16384        16384            none           none   <toplevel>\n"
    "0/257          3018752      7356416            none           none   ro1\n"
    "1/100         31490048     21004288            none           none   <0 member qgroups>\n";

TEST(SnapshotListing, ReadsWhatTheToolsReallyPrint) {
    const auto snapper = SnapshotListing::parseSnapper(kSnapperJson);
    ASSERT_EQ(snapper.size(), 3u);  // not 0, the running system
    EXPECT_EQ(snapper[0].path, "/mnt/data/.snapshots/1/snapshot");
    EXPECT_EQ(snapper[0].description, "first \xc3\xbc");
    EXPECT_EQ(snapper[0].exclusiveBytes, 16384);
    EXPECT_EQ(snapper[1].exclusiveBytes, std::nullopt);
    EXPECT_EQ(snapper[1].description, "two, \"q\"");
    EXPECT_EQ(snapper[2].path, "/.snapshots/7/snapshot");
    EXPECT_EQ(snapper[2].config + "#" + snapper[2].number, "root#7");

    const auto timeshift = SnapshotListing::parseTimeshift(kTimeshiftList);
    ASSERT_EQ(timeshift.size(), 3u);
    EXPECT_EQ(timeshift[0].name, "2026-11-24_21-48-29");
    EXPECT_EQ(timeshift[0].date, "2026-11-24 21:48:29");
    EXPECT_EQ(timeshift[1].description,
              "second: \"quoted\", \xc3\xbcn\xc3\xaf"
              "code");
    EXPECT_EQ(timeshift[2].description, "");

    const auto btrfs = SnapshotListing::parseBtrfsList(kBtrfsList);
    ASSERT_EQ(btrfs.size(), 2u);
    EXPECT_EQ(btrfs[1].path, "home/nested sub");
    EXPECT_EQ(btrfs[1].otime, "2026-11-24 22:11:00");
    EXPECT_EQ(SnapshotListing::parseQgroups(kQgroups),
              (std::vector<std::pair<std::string, std::int64_t>>{{"5", 16384}, {"257", 7356416}}));

    for (const char* garbage : {"", "{", "[]", "{\"x\": 3}", "Num Name\n12 nope x"}) {
        EXPECT_TRUE(SnapshotListing::parseSnapper(garbage).empty()) << garbage;
        EXPECT_TRUE(SnapshotListing::parseTimeshift(garbage).empty()) << garbage;
    }
    for (const char* name : {"2026-11-24_21-48-2", "2026-11-24 21-48-29", "../../etc/passwd",
                             "2026-11-24_21-48-29/x"}) {
        EXPECT_FALSE(SnapshotListing::isTimeshiftName(name)) << name;
    }
}

TEST(SnapshotTools, TheHelpersWireFormatKeepsEveryField) {
    std::vector<LocalSnapshot> list = SnapshotListing::parseSnapper(kSnapperJson);
    list.push_back({Maker::btrfs, "", "", "", "/mnt/ro1", "2026", "", 5});
    list.push_back({Maker::timeshift, "", "", "2026-11-24_21-48-29", "", "d", "c", std::nullopt});
    EXPECT_EQ(SnapshotTools::decode(SnapshotTools::encode(list)), list);
    EXPECT_EQ(SnapshotTools::decode("not json"), std::nullopt);
    SnapshotTools::Deletion d;
    SnapshotTools::decodeResults(SnapshotTools::encodeResults({std::nullopt, "busy"}, list), 3, d);
    EXPECT_EQ(d.errors[0], std::nullopt);
    EXPECT_EQ(d.errors[1], "busy");
    EXPECT_TRUE(d.errors[2].has_value());  // never answered: not deleted
    EXPECT_EQ(d.after, list);
}

// A Btrfs volume in a file on a loop device, with quotas, a Snapper
// configuration of its own and read-only snapshots, listed and deleted
// through the real helper, the real snapper and the real btrfs.
class BtrfsVolume : public ::testing::Test {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) GTEST_SKIP() << "needs root for a loop device";
        for (const char* tool : {"/usr/bin/btrfs", "/usr/sbin/mkfs.btrfs", "/usr/bin/snapper"}) {
            if (::access(tool, X_OK) != 0) GTEST_SKIP() << tool << " is not installed";
        }
        // $S is this test's own Snapper configuration.
        const std::string setup =
            "set -e; S='" + snapper + "'; cd " + dir.path() +
            "; truncate -s 300M img; mkfs.btrfs -q -f img; mkdir mnt;"
            " mount -o loop img mnt; btrfs quota enable mnt; btrfs -q subvolume create mnt/data;"
            " head -c 3000000 /dev/urandom > mnt/data/a;"
            " btrfs -q subvolume snapshot -r mnt/data mnt/ro-snap;"
            " head -c 2000000 /dev/urandom > mnt/data/b;"
            " btrfs -q subvolume snapshot mnt/data mnt/rw-snap;"
            " btrfs -q subvolume create mnt/plain; btrfs property set mnt/plain ro true;"
            " mkdir mnt/folder; $S create-config mnt/data;"
            " head -c 2500000 /dev/urandom > mnt/data/c; $S create -d 'before'; rm mnt/data/c;"
            " $S create -d 'after'; btrfs quota rescan -w mnt";
        const ShellResult made = test::sh(setup);
        mounted = true;
        ASSERT_EQ(made.status, 0) << made.out << made.err;
        mount = dir / "mnt";
    }
    void TearDown() override {
        if (!mounted) return;
        test::sh(snapper + " delete-config; umount -l " + dir / "mnt");
    }

    std::vector<LocalSnapshot> mine(const std::vector<LocalSnapshot>& all) const {
        std::vector<LocalSnapshot> found;
        for (const LocalSnapshot& s : all) {
            if (s.config == config || s.path.starts_with(mount + "/")) found.push_back(s);
        }
        return found;
    }

    test::TempTree dir;
    std::string config = "kelvane-test-" + std::to_string(::getpid());
    std::string snapper = "snapper --no-dbus -c " + config;
    std::string mount;
    bool mounted = false;
};

TEST_F(BtrfsVolume, ListedAndDeletedThroughTheHelperWhichRefusesAnythingButASnapshot) {
    const auto listed = SnapshotTools::listThroughHelper("", KELVANE_TEST_ADMIN_HELPER);
    ASSERT_EQ(listed.run.status, 0) << listed.run.err;
    const std::vector<LocalSnapshot> before = mine(listed.snapshots);
    // Snapper's two, with their descriptions and sizes, and the read-only
    // snapshot; not the writable one, nor the read-only plain subvolume.
    ASSERT_EQ(before.size(), 3u) << SnapshotTools::encode(listed.snapshots);
    EXPECT_EQ(before[0].description, "before");
    EXPECT_EQ(before[1].description, "after");
    EXPECT_EQ(before[2].path, mount + "/ro-snap");
    for (const LocalSnapshot& s : before) {
        EXPECT_TRUE(s.exclusiveBytes.has_value()) << s.path;
    }
    EXPECT_GT(*before[0].exclusiveBytes, 2'000'000);  // alone holds "c", deleted since

    LocalSnapshot rw{Maker::btrfs, "", "", "", mount + "/rw-snap", "", "", std::nullopt};
    LocalSnapshot plain = rw, folder = rw, zero = before[0];
    plain.path = mount + "/plain";
    folder.path = mount + "/folder";
    zero.number = "0";
    const auto deletion = SnapshotTools::deleteThroughHelper(
        "", KELVANE_TEST_ADMIN_HELPER, {before[0], before[2], rw, plain, folder, zero});
    ASSERT_EQ(deletion.errors.size(), 6u);
    EXPECT_EQ(deletion.errors[0], std::nullopt);
    EXPECT_EQ(deletion.errors[1], std::nullopt);
    for (std::size_t i = 2; i < 6; ++i) EXPECT_TRUE(deletion.errors[i].has_value()) << i;
    for (const char* kept : {"/rw-snap", "/plain", "/folder", "/data"}) {
        EXPECT_TRUE(test::exists(mount + kept)) << kept;
    }
    EXPECT_FALSE(test::exists(mount + "/ro-snap"));
    ASSERT_TRUE(deletion.after.has_value());
    const auto after = mine(*deletion.after);
    ASSERT_EQ(after.size(), 1u);
    EXPECT_EQ(after[0].description, "after");
}

// Timeshift cannot make snapshots on this machine's volumes, so a stand-in
// prints what Timeshift printed here and forgets a snapshot on --delete;
// one that reports success without deleting is caught by listing again.
TEST(SnapshotTools, TimeshiftSnapshotsAreListedAndDeletedByNameOnly) {
    const test::TempTree dir;
    test::writeFile(dir / "listing", kTimeshiftList);
    test::writeFile(dir / "timeshift.json", "{}");
    SnapshotTools::Programs programs;
    programs.snapper = programs.btrfs = dir / "none";
    programs.timeshiftConfig = dir / "timeshift.json";
    programs.timeshift =
        test::writeScript(dir.path(), "timeshift",
                          "if [ \"$1\" = --delete ]; then echo \"$3\" >> " + dir / "asked" +
                              "; [ \"$3\" = 2026-11-24_21-48-41 ] && exit 0;"
                              " grep -v \"$3\" " +
                              dir / "listing" + " > " + dir / "l2; mv " + dir / "l2 " +
                              dir / "listing; exit 0; fi; cat " + dir / "listing");
    const std::vector<LocalSnapshot> listed = SnapshotTools::listAsRoot(programs);
    ASSERT_EQ(listed.size(), 3u);
    DeletionRules::Locator locator(DeletionRules::LinkTrust::currentUser());
    EXPECT_EQ(SnapshotTools::deleteAsRoot(listed[0], locator, programs), std::nullopt);
    EXPECT_TRUE(SnapshotTools::deleteAsRoot(listed[1], locator, programs).has_value());
    LocalSnapshot forged = listed[2];
    forged.name = "-rf";
    EXPECT_TRUE(SnapshotTools::deleteAsRoot(forged, locator, programs).has_value());
    EXPECT_EQ(test::readFile(dir / "asked"), "2026-11-24_21-48-29\n2026-11-24_21-48-41\n");
    EXPECT_EQ(SnapshotTools::listAsRoot(programs).size(), 2u);
}

}  // namespace
}  // namespace kelvane
