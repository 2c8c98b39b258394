#include "system/utf8_repair.h"

#include <gtest/gtest.h>

#include <random>

#include "system/shell.h"
#include "test_support.h"

namespace kelvane {
namespace {

TEST(Utf8Repair, ValidTextPassesAndEachIllFormedSubpartBecomesOneReplacement) {
    const std::string valid = std::string("a\0\xC3\xA9\xE6\x97\xA5\xF0\x9F\x98\x80\x7F", 12);
    EXPECT_EQ(repairedUtf8(valid), valid);
    const std::string r = "\xEF\xBF\xBD";
    EXPECT_EQ(repairedUtf8("\xE6\x97x\xF0\x9F\x98"), r + "x" + r);  // truncated sequences
    EXPECT_EQ(repairedUtf8("\xED\xA0\x80"), r + r + r);             // a surrogate
}

// Python's decoder follows the same practice the Unicode standard
// recommends, so on random bytes both must agree exactly.
TEST(Utf8Repair, AgreesWithPythonOnRandomBytes) {
    if (!test::exists("/usr/bin/python3")) GTEST_SKIP() << "python3 is not installed";
    test::TempTree dir;
    std::mt19937 random(20240501);
    // Mostly lead and continuation bytes at the edges of their ranges.
    const std::string alphabet =
        "a\x80\xBF\xC0\xC2\xDF\xE0\xED\xEF\xF0\xF4\xF5\xFF\x9F\xA0\x90\x8F";
    std::string input, expected;
    for (int k = 0; k < 500; ++k) {
        std::string sample;
        for (int n = 0; n < 12; ++n) sample += alphabet[random() % alphabet.size()];
        input += sample + '\n';
        expected += repairedUtf8(sample) + '\n';
    }
    test::writeFile(dir / "in", input);
    const ShellResult py = test::sh(
        "/usr/bin/python3 -c 'import sys; sys.stdout.buffer.write(open(sys.argv[1],\"rb\").read()"
        ".decode(\"utf-8\",\"replace\").encode())' " +
        Shell::quoted(dir / "in"));
    ASSERT_EQ(py.status, 0) << py.err;
    EXPECT_EQ(py.out, expected);
}

}  // namespace
}  // namespace kelvane
