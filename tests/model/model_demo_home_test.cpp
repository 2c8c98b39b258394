#include <cstdlib>

#include "model_fixture.h"
#include "system/shell.h"

namespace kelvane::test {
namespace {

using Status = CategoryState::Status;

// The launch over the demo home that scripts/make-demo-home.sh builds: every
// category is measured to exactly what a walk of its roots finds. Many roots
// nest (Library/Containers holds every container's caches) and are walked at
// the same time, four at most.
TEST_F(ModelTest, LaunchOverTheDemoHome) {
    const std::filesystem::path source = std::filesystem::path(__FILE__).parent_path() / "../..";
    const std::string script = (source / "scripts/make-demo-home.sh").string();
    if (::access(script.c_str(), X_OK) != 0) GTEST_SKIP() << "no " << script;
    const std::string demo = path("demo");
    ASSERT_EQ(
        std::system((Shell::quoted(script) + " " + Shell::quoted(demo) + " >/dev/null").c_str()),
        0);
    makeModel(Catalog::build(demo, path("tmpbase")));
    std::size_t mostAtOnce = 0;
    model->subscribe([&](const ModelChange&) {
        mostAtOnce = std::max<std::size_t>(mostAtOnce, model->limiter().active());
    });
    model->startInitialScan();
    settle();
    EXPECT_LE(mostAtOnce, 4u);
    for (const CleanCategory& category : model->categories()) {
        const CategoryState s = model->state(category.id);
        if (!category.scanOnLaunch || category.kind != CategoryKind::folders) {
            EXPECT_EQ(s.status, Status::idle) << category.id;
            continue;
        }
        // Everything the catalog looks for in a home is in the demo home.
        const bool inHome = category.patterns.front().starts_with(demo + "/");
        EXPECT_EQ(s.status, inHome || !s.roots.empty() ? Status::done : Status::missing)
            << category.id;
        ScanStats expected;
        for (const std::string& root : s.roots) {
            SizeStore store;
            const ScanStats one = Scanner::scan(root, store);
            if (one.dirs > 0) expected.bytes += one.bytes;  // a file root counts nothing
        }
        EXPECT_EQ(s.bytes, expected.bytes) << category.id;
    }
}

}  // namespace
}  // namespace kelvane::test
