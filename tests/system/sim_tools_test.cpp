#include "system/sim_tools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "test_support.h"

namespace kelvane {
namespace {

using ::testing::IsEmpty;

TEST(SimParse, BuildsRecordsWithDefaultsAndSortsLargestFirstKeepingTies) {
    const std::vector<SimRuntime> r = SimTools::parseRuntimes(R"({
      "AAAA-1": {"identifier": "AAAA-1", "version": "17.2", "build": "21C62",
                 "runtimeIdentifier": "com.apple.CoreSimulator.SimRuntime.iOS-17-2",
                 "sizeBytes": 5000000000, "state": "Ready", "deletable": true,
                 "lastUsedAt": "2024\/01\/02", "extra": [1, 2]},
      "com.apple.CoreSimulator.SimRuntime.watchOS-10-0": {"version": "10.0",
                 "sizeBytes": 9000000000, "deletable": false},
      "BBBB-2": {"identifier": 42, "runtimeIdentifier": "com.apple.CoreSimulator.SimRuntime.xrOS",
                 "sizeBytes": "big", "state": null, "deletable": "no"},
      "CCCC-3": {"runtimeIdentifier": "x.tvOS-17-0", "sizeBytes": 5000000000}
    })");
    ASSERT_EQ(r.size(), 4u);
    const SimRuntime watch{"com.apple.CoreSimulator.SimRuntime.watchOS-10-0",
                           "watchOS 10.0",
                           "10.0",
                           "",
                           "watchOS",
                           9000000000,
                           "",
                           false,
                           std::nullopt};
    EXPECT_EQ(r[0], watch);
    const SimRuntime ios{"AAAA-1",   "iOS 17.2", "17.2", "21C62",     "iOS",
                         5000000000, "Ready",    true,   "2024/01/02"};
    EXPECT_EQ(r[1], ios);
    EXPECT_EQ(r[2].id, "CCCC-3");  // same size as AAAA-1, later in the document
    // Mistyped members get the defaults; the runtime is kept.
    const SimRuntime xr{"BBBB-2", "xrOS ", "", "", "xrOS", 0, "", true, std::nullopt};
    EXPECT_EQ(r[3], xr);
    // The platform is the last dotted piece up to its first dash.
    EXPECT_EQ(SimTools::platformOf("no-dots-here"), "no");
    EXPECT_EQ(SimTools::platformOf("trailing."), "");
}

TEST(SimParse, SizesAreSigned64BitAndAnythingButAnObjectOfObjectsIsEmpty) {
    const auto r = SimTools::parseRuntimes(
        R"({"k": {"sizeBytes": 4294967297}, "neg": {"sizeBytes": -5},
            "huge": {"sizeBytes": 18446744073709551615}, "float": {"sizeBytes": 2.5e3}})");
    std::vector<std::int64_t> sizes;
    for (const SimRuntime& one : r) sizes.push_back(one.sizeBytes);
    EXPECT_EQ(sizes, (std::vector<std::int64_t>{INT64_MAX, 4294967297, 2500, -5}));
    for (const char* bad : {"", "plain text", "[]", "[{}]", "null", "{\"a\": 1}",
                            "{\"a\": {}, \"b\": []}", "{\"a\": {}", "{\"a\": {}} trailing"}) {
        EXPECT_THAT(SimTools::parseRuntimes(bad), IsEmpty()) << bad;
    }
}

TEST(SimList, RunsTheToolAndTrustsOnlyASuccessfulRun) {
    test::TempTree dir;
    const std::string ok = test::writeScript(
        dir.path(), "xcrun",
        "[ \"$*\" = 'simctl runtime list -j' ] || exit 9; echo '{\"k\": {\"sizeBytes\": 1}}'");
    EXPECT_EQ(SimTools::listRuntimes(ok).size(), 1u);
    const std::string failing =
        test::writeScript(dir.path(), "failing", "echo '{\"k\": {}}'; exit 1");
    EXPECT_THAT(SimTools::listRuntimes(failing), IsEmpty());
}

}  // namespace
}  // namespace kelvane
