// Both tool parsers read whatever a foreign program printed: random and
// mutated input must never crash, hang or throw. Under the sanitizer build
// this also catches out-of-bounds reads.
#include <gtest/gtest.h>

#include <random>

#include "system/sim_tools.h"
#include "system/snapshot_tools.h"
#include "system/utf8_repair.h"

namespace kelvane {
namespace {

const std::vector<std::string> seeds = {
    R"({"A": {"identifier": "A", "version": "17.2", "runtimeIdentifier": "x.iOS-17-2",
       "sizeBytes": 123, "deletable": false, "lastUsedAt": "\/"}, "B": {"sizeBytes": 1e999}})",
    "Snapshots for disk /:\ncom.apple.TimeMachine.2024-05-01-103015.local\n",
    "\xE3\x80\x80"
    "com.apple.TimeMachine.\xF0\x9F\x98"
    ".local\n",
};

std::string mutated(std::mt19937& random, std::string s) {
    for (int edits = 1 + random() % 8; edits > 0; --edits) {
        const std::size_t at = random() % (s.size() + 1);
        switch (random() % 4) {
            case 0:
                if (at < s.size()) s[at] = static_cast<char>(random());
                break;
            case 1:
                s.insert(at, 1, static_cast<char>(random()));
                break;
            case 2:
                if (at < s.size()) s.erase(at, 1 + random() % 4);
                break;
            default:
                if (at < s.size()) s.insert(at, s.substr(at, random() % 16));
        }
    }
    return s;
}

TEST(ParserFuzz, RandomAndMutatedInputsAreSurvived) {
    std::mt19937 random(4);
    std::size_t runtimes = 0, dates = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string input(random() % 256, '\0');
        if (round % 2 == 0) {
            input = mutated(random, seeds[random() % seeds.size()]);
        } else {
            for (char& c : input) c = static_cast<char>(random());
        }
        runtimes += SimTools::parseRuntimes(input).size();
        runtimes += SimTools::parseRuntimes(repairedUtf8(input)).size();
        dates += SnapshotTools::parseList(input).size();
    }
    // Mutations mild enough that parsing still succeeds some of the time.
    EXPECT_GT(runtimes, 0u);
    EXPECT_GT(dates, 0u);
    const std::string deep = std::string(200000, '[') + std::string(200000, ']');
    EXPECT_TRUE(SimTools::parseRuntimes("{\"a\": " + deep + "}").empty());
    EXPECT_TRUE(SimTools::parseRuntimes(std::string(200000, '{')).empty());
}

}  // namespace
}  // namespace kelvane
