#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "scan/history_sample.h"

using namespace kelvane;

TEST(HistorySample, TakesTheRootsAndTwoLevelsLargestFirstSortedByPath) {
    SizeStore store;
    for (const auto& [path, bytes] : std::vector<std::pair<std::string, std::int64_t>>{
             {"/", 900},
             {"/a", 500},
             {"/a/b", 300},
             {"/a/b/c", 200},  // three levels down: not sampled from "/a"
             {"/a/b/c/d", 100},
             {"/a/e", 2},
             {"/a/f", 1},
             {"/z", 40}}) {
        store.record(bytes, path);
    }
    const auto all = HistorySample::take(store, {"/a/", "/a/b", "/missing"});
    EXPECT_EQ(all.cutoff, 0);
    EXPECT_EQ(all.folders, (std::vector<FolderSize>{{"/a", 500},
                                                    {"/a/b", 300},
                                                    {"/a/b/c", 200},
                                                    {"/a/b/c/d", 100},
                                                    {"/a/e", 2},
                                                    {"/a/f", 1}}));

    const auto cut = HistorySample::take(store, {"/"}, 3);
    EXPECT_EQ(cut.cutoff, 40);
    EXPECT_EQ(cut.folders, (std::vector<FolderSize>{{"/", 900}, {"/a", 500}, {"/a/b", 300}}));
}
