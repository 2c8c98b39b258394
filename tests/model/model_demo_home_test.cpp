#include <algorithm>
#include <cstdlib>

#include "model/file_probe.h"
#include "model_fixture.h"
#include "scan/path_glob.h"
#include "system/shell.h"

namespace kelvane::test {
namespace {

using Status = CategoryState::Status;

// The source tree, found from this file's own path.
std::string sourceRoot() {
    std::filesystem::path file = __FILE__;
    return file.parent_path().parent_path().parent_path().string();
}

// The launch over the demo home that scripts/make-demo-home.sh builds: every
// category whose places exist is measured to exactly what the scanner finds
// there, every other one is missing.
TEST_F(ModelTest, LaunchOverTheDemoHome) {
    const std::string script = sourceRoot() + "/scripts/make-demo-home.sh";
    if (::access(script.c_str(), X_OK) != 0) GTEST_SKIP() << "no " << script;
    const std::string demo = path("demo");
    ASSERT_EQ(std::system(
                  (Shell::quoted(script) + " " + Shell::quoted(demo) + " >/dev/null")
                      .c_str()),
              0);
    makeModel(Catalog::build(demo, path("tmpbase")));
    std::size_t mostAtOnce = 0;
    model->subscribe([&](const ModelChange&) {
        mostAtOnce = std::max<std::size_t>(mostAtOnce, model->limiter().active());
    });
    model->startInitialScan();
    settle();
    EXPECT_LE(mostAtOnce, 4u);
    EXPECT_TRUE(model->scanTasks().empty());
    // Categories whose roots nest (Library/Containers holds every container's
    // caches) are walked at the same time; the one walking the outer folder
    // clears the inner roots from the store until it records them again, so a
    // total taken at the wrong moment can come out short. Once every walk is
    // over the store holds the full picture, and that is what is compared.
    model->refreshCategorySizes();

    int done = 0;
    for (const CleanCategory& category : model->categories()) {
        const CategoryState s = model->state(category.id);
        if (!category.scanOnLaunch || category.kind != CategoryKind::folders) {
            EXPECT_EQ(s.status, Status::idle) << category.id;
            continue;
        }
        std::vector<std::string> roots;
        for (const std::string& pattern : category.patterns) {
            for (const std::string& p : PathGlob::expand(pattern)) {
                if (FileProbe::exists(p)) roots.push_back(p);
            }
        }
        // Everything the catalog looks for in a home is in the demo home.
        if (category.patterns.front().starts_with(demo + "/")) {
            EXPECT_FALSE(roots.empty()) << category.id << " has nothing in the demo home";
        }
        if (roots.empty()) {
            EXPECT_EQ(s.status, Status::missing) << category.id;
            continue;
        }
        ++done;
        EXPECT_EQ(s.status, Status::done) << category.id;
        EXPECT_TRUE(s.lastScan.has_value()) << category.id;
        EXPECT_EQ(s.roots, roots) << category.id;
        ScanStats expected;
        for (const std::string& root : roots) {
            SizeStore fresh;
            const ScanStats one = Scanner::scan(root, fresh);
            expected.bytes += one.bytes;
            expected.files += one.files;
            expected.dirs += one.dirs;
            expected.unreadable += one.unreadable;
        }
        EXPECT_EQ(s.bytes, expected.bytes) << category.id;
        EXPECT_EQ(s.files, expected.files) << category.id;
        EXPECT_EQ(s.dirs, expected.dirs) << category.id;
        EXPECT_EQ(s.unreadable, expected.unreadable) << category.id;
    }
    EXPECT_GT(done, 0);
}

}  // namespace
}  // namespace kelvane::test
