#include <gtest/gtest.h>

#include <unicode/locid.h>

#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "core/fmt.h"

using namespace kelvane;

// The formatters take the process's default locale once; the test program
// pins it to the C locale (as LANG=C gives it) before the first use, so the
// figures are predictable and show that C still writes Japanese.
class FmtTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(icu::Locale("en_US_POSIX"), status);
    }
};

TEST_F(FmtTest, TheCLocaleWritesJapaneseAChosenLocaleItself) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"en_US_POSIX", "ja"}, {"", "ja"}, {"en_US", "en_US"}, {"de_DE", "de_DE"},
        {"ja_JP", "ja_JP"}};
    for (const auto& [process, written] : cases)
        EXPECT_EQ(Fmt::formattingLocale(process), written) << process;
}

TEST_F(FmtTest, BytesUseDecimalUnitsAndANumericZero) {
    EXPECT_EQ(Fmt::bytes(0), "0 バイト");
    EXPECT_EQ(Fmt::bytes(999), "999 バイト");
    EXPECT_EQ(Fmt::bytes(1000), "1 KB");
    EXPECT_EQ(Fmt::bytes(1500), "2 KB");
    EXPECT_EQ(Fmt::bytes(999'999), "1 MB");  // unit chosen after rounding
    EXPECT_EQ(Fmt::bytes(1'234'567), "1.2 MB");
    EXPECT_EQ(Fmt::bytes(12'345'678'901), "12.35 GB");
    EXPECT_EQ(Fmt::bytes(2'000'000'000'000), "2 TB");
    EXPECT_EQ(Fmt::bytes(5'000'000'000'000'000), "5,000 TB");
    EXPECT_EQ(Fmt::bytes(-1500), "-2 KB");
}

TEST_F(FmtTest, DatesAreLocalisedAndAbsentIsEmpty) {
    EXPECT_EQ(Fmt::date(std::nullopt), "");
    const std::string text = Fmt::date(Date{1'700'000'000});
    EXPECT_NE(text.find("2023/11/1"), std::string::npos) << text;
}

TEST_F(FmtTest, FirstUseFromManyThreadsAgrees) {
    std::vector<std::string> results(8);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < results.size(); ++i) {
        threads.emplace_back(
            [&results, i] { results[i] = Fmt::bytes(1'234'567) + Fmt::date(Date{0}); });
    }
    for (auto& t : threads) t.join();
    for (const auto& r : results) EXPECT_EQ(r, results.front());
}
