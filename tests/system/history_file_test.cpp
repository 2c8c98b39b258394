#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "support/run_as_test_user.h"
#include "support/temp_tree.h"
#include "system/history_codec.h"
#include "system/history_file.h"
#include "system/history_limits.h"

using namespace kelvane;
using kelvane::test::TempTree;

namespace {

constexpr std::int64_t now = 1'750'000'000;
constexpr std::int64_t day = Growth::day;

const std::string odd("/r/new\nline\\back\ttab \xff\xfe", 21);

// `count` daily measurements up to now, `folders` folders each, a tenth of them changing daily.
CategoryHistory daily(const std::string& id, int count, int folders) {
    CategoryHistory h(id);
    for (int d = 0; d < count; ++d) {
        Measurement m{now - (count - 1 - d) * day, 1000 + d, {}, {}, 0};
        for (int f = 0; f < folders; ++f) {
            const std::int64_t bytes = 4096 * (f + 1) + (f % 10 == d % 10 ? d * 512 : 0);
            m.folders.push_back({"/home/u/.cache/tool" + std::to_string(100000 + f), bytes});
        }
        h.append(m);
    }
    return h;
}

std::string only(const std::string& folder, const std::string& suffix) {
    std::vector<std::string> names;
    for (const auto& n : {HistoryFile::fileNameFor("a"), HistoryFile::fileNameFor("a") + suffix}) {
        if (test::exists(folder + "/" + n)) names.push_back(n);
    }
    return names.size() == 1 ? names.front() : "";
}

}  // namespace

TEST(HistoryFile, NamesAndDeletionsSurviveASaveByteForByte) {
    TempTree t;
    const std::string id = "custom:/mnt/dat\xff/a\nb/" + std::string(300, 'x');
    CategoryHistory h(id);
    h.append({now - day, 10, {{"/r", 10}, {odd, 4}}, {}, 0});
    h.append({now, 7, {{"/r", 7}, {odd + "/\\", 1}}, {{odd, 4}, {"/r/\n", 2}}, 9});
    ASSERT_EQ(HistoryFile::save(t.path(), h), std::nullopt);

    const std::string name = HistoryFile::fileNameFor(id);
    EXPECT_LE(name.size(), 100u);
    EXPECT_EQ(
        name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-."),
        std::string::npos);
    const auto loaded = HistoryFile::loadAll(t.path());
    EXPECT_TRUE(loaded.problems.empty());
    ASSERT_EQ(loaded.histories.size(), 1u);
    EXPECT_EQ(loaded.histories[0], h);
}

TEST(HistoryFile, AFileThatCannotBeUsedIsSetAsideAndTheCategoryStartsAfresh) {
    const std::string good = HistoryCodec::encode(daily("a", 3, 5));
    const struct {
        const char* what;
        std::function<void(const std::string&)> spoil;
        const char* aside;
    } cases[] = {
        {"truncated", [&](auto& p) { std::ofstream(p) << good.substr(0, good.size() - 9); },
         ".broken"},
        {"one byte changed",
         [&](auto& p) {
             std::string b = good;
             b[b.size() / 2] ^= 1;
             std::ofstream(p) << b;
         },
         ".broken"},
        {"not ours", [](auto& p) { std::ofstream(p) << "hello"; }, ".broken"},
        {"a folder", [](auto& p) { mkdir(p.c_str(), 0755); }, ".broken"},
        {"newer",
         [&](auto& p) {
             std::string b = good;
             b[8] = 2;
             std::ofstream(p) << b;
         },
         ".newer"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TempTree t;
        const std::string file = t / HistoryFile::fileNameFor("a");
        c.spoil(file);
        const auto loaded = HistoryFile::loadAll(t.path());
        EXPECT_TRUE(loaded.histories.empty());
        ASSERT_EQ(loaded.problems.size(), 1u);
        EXPECT_EQ(loaded.problems[0].errnum, 0);
        EXPECT_NE(loaded.problems[0].message.find("退避"), std::string::npos);
        EXPECT_EQ(only(t.path(), c.aside), HistoryFile::fileNameFor("a") + c.aside);

        const CategoryHistory fresh = daily("a", 1, 2);
        ASSERT_EQ(HistoryFile::save(t.path(), fresh), std::nullopt);
        const auto again = HistoryFile::loadAll(t.path());
        ASSERT_EQ(again.histories.size(), 1u);
        EXPECT_EQ(again.histories[0], fresh);
    }
}

TEST(HistoryFile, ANewerFileIsNotOverwritten) {
    TempTree t;
    std::string newer = HistoryCodec::encode(daily("a", 1, 1));
    newer[8] = 7;
    const std::string file = t / HistoryFile::fileNameFor("a");
    std::ofstream(file) << newer;
    const auto error = HistoryFile::save(t.path(), daily("a", 2, 1));
    ASSERT_NE(error, std::nullopt);
    EXPECT_EQ(test::readFile(file), newer);
}

TEST(HistoryFile, KeepsNinetyDaysAndOneFileSizeWithTheComparisonPoints) {
    CategoryHistory h = daily("a", 120, 50);
    HistoryLimits::apply(h, now);
    EXPECT_EQ(h.size(), 91u);
    EXPECT_EQ(h.step(0).time, now - 90 * day);

    const CategoryHistory unlimited = h;
    const std::size_t limit = HistoryCodec::encode(h).size() / 3;
    h = HistoryLimits::record(h, daily("a", 1, 60).measurement(0), now + 60, limit);
    EXPECT_LE(HistoryCodec::encode(h).size(), limit);
    EXPECT_EQ(h.measurement(h.size() - 1).folders.size(), 60u);
    EXPECT_EQ(h.measurement(h.size() - 2), unlimited.measurement(unlimited.size() - 1));
    for (const auto point : {ComparisonPoint::weekAgo, ComparisonPoint::monthAgo}) {
        const auto kept = Growth::pointIndex(h, point, now + 60);
        const auto all = Growth::pointIndex(unlimited, point, now + 60);
        ASSERT_TRUE(kept && all);
        EXPECT_EQ(h.measurement(*kept), unlimited.measurement(*all));
    }
}

TEST(HistoryFile, ClearRemovesEveryHistoryFile) {
    TempTree t;
    const std::string folder = t / "state/kelvane";
    ASSERT_EQ(HistoryFile::save(folder, daily("a", 1, 1)), std::nullopt);
    ASSERT_EQ(HistoryFile::save(folder, daily("b", 1, 1)), std::nullopt);
    std::ofstream(folder + "/" + HistoryFile::fileNameFor("c")) << "x";
    EXPECT_EQ(HistoryFile::loadAll(folder).histories.size(), 2u);  // and "c" set aside
    EXPECT_EQ(HistoryFile::clear(folder), std::nullopt);
    EXPECT_FALSE(test::exists(folder));
    EXPECT_EQ(HistoryFile::clear(folder), std::nullopt);
}

TEST(HistoryFile, FolderFollowsXdgStateHome) {
    EXPECT_EQ(HistoryFile::folderFor("/home/u", "/s/"), "/s/kelvane");
    EXPECT_EQ(HistoryFile::folderFor("/home/u", "rel"), "/home/u/.local/state/kelvane");
    EXPECT_EQ(HistoryFile::folderFor("/home/u/", nullptr), "/home/u/.local/state/kelvane");
}

// Run as kelvane-test, for whom a folder of root's is read-only.
TEST(AsTestUser, AReadOnlyStateFolderMeansNotRecorded) {
    const auto check = [](const std::string& folder) {
        const auto error = HistoryFile::save(folder, daily("b", 2, 3));
        ASSERT_NE(error, std::nullopt);
        EXPECT_EQ(error->errnum, EACCES);
        const auto loaded = HistoryFile::loadAll(folder);
        ASSERT_EQ(loaded.problems.size(), 1u);  // "a" is damaged and cannot be moved aside
        EXPECT_EQ(loaded.problems[0].errnum, EACCES);
        EXPECT_EQ(HistoryFile::save(folder + "/below", daily("b", 1, 1))->errnum, EACCES);
    };
    if (const auto folder = test::testUserFolder()) return check(*folder);
    TempTree t;
    std::ofstream(t / HistoryFile::fileNameFor("a")) << "damaged";
    ASSERT_EQ(chmod(t.path().c_str(), 0555), 0);
    test::checkAsTestUser(t.path(), check);
}
