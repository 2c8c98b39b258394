// Reading exports: what the tree holds, and how damaged input is refused.
#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

#include "scan/export_writer.h"
#include "scan/exported_tree.h"

using namespace kelvane;

namespace {

// The tree read from `text`; an empty one (after a failure) when the text is refused.
ExportedTree treeOf(std::string_view text) {
    auto loaded = ExportedTree::parse(text);
    if (const auto* error = std::get_if<ExportError>(&loaded)) {
        ADD_FAILURE() << "at " << error->offset << ": " << error->message;
        return std::get<ExportedTree>(ExportedTree::parse(R"([1,0,{},{"name":""}])"));
    }
    return std::get<ExportedTree>(std::move(loaded));
}

std::vector<std::string> childNames(const ExportedTree& tree, ExportedTree::Id id) {
    std::vector<std::string> names;
    for (const ExportedTree::Id child : tree.children(id)) names.emplace_back(tree.name(child));
    return names;
}

TEST(ExportedTree, TotalsFoldersCountingEachInodeOncePerDevice) {
    // "x" has two names on device 7 and one on device 9 (a different file); the mount point
    // "m" is excluded and has no size; "u" could not be read and keeps what it had.
    const std::string text = R"([1,2,{"progname":"t","timestamp":1700000000,"x":{"y":[1]}},
[{"name":"/r","dsize":4096,"dev":7},
 {"name":"small","asize":10,"dsize":4096},
 [{"name":"d","dsize":4096},
  {"name":"x","asize":9000,"dsize":12288,"ino":5,"hlnkc":true,"nlink":2},
  [{"name":"u","dsize":4096,"read_error":true}]],
 {"name":"x2","asize":9000,"dsize":12288,"ino":5,"hlnkc":true,"nlink":2},
 [{"name":"m","dev":9,"excluded":"othfs"},
  {"name":"x3","dsize":12288,"ino":5,"hlnkc":true}],
 {"name":"odd\n\"\\\u00e9\ud83d\ude00\/","dsize":512,"mtime":-3.5e2,"extra":[{"a":[null]}]}]])";
    const ExportedTree tree = treeOf(text);
    ASSERT_EQ(tree.size(), 9U);
    EXPECT_EQ(tree.bytes(tree.root()), 4096 + 4096 + (4096 + 12288 + 4096) + 12288 + 512);
    EXPECT_EQ(tree.apparentBytes(tree.root()), 10 + 9000);
    // Largest first; the second name of "x" is listed with its size but counted in no total.
    EXPECT_EQ(
        childNames(tree, tree.root()),
        (std::vector<std::string>{"d", "x2", "m", "small", "odd\n\"\\\xc3\xa9\xf0\x9f\x98\x80/"}));
    const ExportedTree::Id d = tree.children(tree.root())[0];
    EXPECT_TRUE(tree.isFolder(d));
    EXPECT_EQ(tree.bytes(d), 4096 + 12288 + 4096);
    const ExportedTree::Id u = tree.children(d)[1];
    EXPECT_TRUE(tree.hadReadError(u));
    EXPECT_EQ(tree.path(u), "/r/d/u");
    const ExportedTree::Id m = tree.children(tree.root())[2];
    EXPECT_TRUE(tree.isExcluded(m));
    EXPECT_EQ(tree.bytes(m), 12288);  // x3 is on device 9: another file
    EXPECT_EQ(tree.metadata().progname, "t");
    EXPECT_EQ(tree.metadata().timestamp, 1700000000);
    // Paths lead back to their entries; near misses lead nowhere.
    for (const ExportedTree::Id id : {tree.root(), d, u, m}) EXPECT_EQ(tree.find(tree.path(id)), id);
    for (const char* miss : {"/r/d/v", "/rd", "/r//d", "r/d", "/"})
        EXPECT_EQ(tree.find(miss), std::nullopt) << miss;
}

TEST(ExportedTree, NamesSurviveTheWriterAndTheReaderByteForByte) {
    std::string all;
    for (int c = 1; c < 256; ++c) all += static_cast<char>(c);
    const std::vector<std::string> names = {all, "bad\xff\xfe", "\xed\xa0\x80", "a\"b\\c\nd"};
    std::string text;
    ExportWriter writer(text);
    writer.header("1", 0);
    writer.beginFolder("/root", ExportInfo{});
    for (const std::string& name : names) writer.item(name, ExportInfo{});
    writer.endFolder();
    writer.footer();
    const ExportedTree tree = treeOf(text);
    EXPECT_EQ(childNames(tree, tree.root()), names);
}

TEST(ExportedTree, DamagedExportsAreRefusedWithWhereAndWhy) {
    struct Case {
        std::string text;
        std::uint64_t offset;
        std::string says;
    };
    const std::string good = R"([1,2,{},[{"name":"/r"},{"name":"f","dsize":1}]])";
    const std::vector<Case> cases = {
        {"", 0, "途中で終わっています"},
        {good.substr(0, 30), 30, "途中で終わっています"},
        {good.substr(0, good.size() - 1), good.size() - 1, "途中で終わっています"},
        {R"([2,0,{},[{"name":"/r"}]])", 1, "主版数 1"},
        {R"([1,2,[],[{"name":"/r"}]])", 5, "メタデータ"},
        {R"([1,2,{},[{"name":5}]])", 17, "「name」は文字列"},
        {R"([1,2,{},[{"name":"/r","asize":"1"}]])", 30, "「asize」は 0 以上の整数"},
        {R"([1,2,{},[{"name":"/r","dsize":-1}]])", 30, "「dsize」は 0 以上の整数"},
        {R"([1,2,{},[{"name":"/r","dsize":1.5}]])", 31, "0 以上の整数"},
        {R"([1,2,{},[{"name":"/r","dsize":9223372036854775808}]])", 30, "大きすぎます"},
        {R"([1,2,{},[{"name":"/r","ino":99999999999999999999}]])", 28, "大きすぎます"},
        {R"([1,2,{},[{"name":"/r","hlnkc":"yes"}]])", 30, "真偽値"},
        {R"([1,2,{},[{"asize":1}]])", 9, "「name」がありません"},
        {R"([1,2,{},[{"name":"/r"},5]])", 23, "項目"},
        {R"([1,2,{},[{"name":"/r\q"}]])", 21, "エスケープ"},
        {"[1,2,{},[{\"name\":\"/\x01\"}]]", 19, "制御文字"},
        {good + "x", good.size(), "余分なデータ"},
    };
    for (const Case& c : cases) {
        const auto loaded = ExportedTree::parse(c.text);
        const auto* error = std::get_if<ExportError>(&loaded);
        ASSERT_NE(error, nullptr) << c.text;
        EXPECT_EQ(error->offset, c.offset) << c.text << ": " << error->message;
        EXPECT_NE(error->message.find(c.says), std::string::npos)
            << c.text << ": " << error->message;
    }
}

TEST(ExportedTree, NestingOfAnyDepthCostsNoStack) {
    constexpr int kLevels = 100000;
    std::string text = "[1,2,{},[{\"name\":\"/r\"}";
    for (int i = 0; i < kLevels; ++i) text += ",[{\"name\":\"d\",\"dsize\":1}";
    const auto open = ExportedTree::parse(text);
    ASSERT_TRUE(std::holds_alternative<ExportError>(open));
    EXPECT_EQ(std::get<ExportError>(open).offset, text.size());

    text += std::string(kLevels + 1, ']') + "]";
    const ExportedTree tree = treeOf(text);
    EXPECT_EQ(tree.size(), kLevels + 1U);
    EXPECT_EQ(tree.bytes(tree.root()), kLevels);
}

}  // namespace
