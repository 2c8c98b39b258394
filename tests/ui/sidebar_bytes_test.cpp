// An added folder whose name is not UTF-8: its row must show the name the
// way the list does and, clicked, select exactly that folder.
#include <QTreeView>

#include "ui/browser/category_detail_view.h"
#include "ui/sidebar/sidebar_model.h"
#include "ui/sidebar/sidebar_view.h"
#include "ui_fixture.h"

namespace kelvane::test {
namespace {

TEST_F(UiTest, AFolderNamedInBytesThatAreNotUtf8IsShownEscapedAndSelectable) {
    const std::string folder = path("caf\xE9");
    ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
    launch(std::nullopt, false);
    services->folderToChoose = folder;
    model().addCustomFolder();
    settle();
    const std::string id = std::string(Catalog::kCustomPrefix) + folder;
    open<QWidget>(Catalog::kOverviewID);

    SidebarView& sidebar = *app->window().content()->sidebar();
    const QModelIndex row = sidebar.itemModel()->indexForSelection(id);
    ASSERT_TRUE(row.isValid());
    EXPECT_TRUE(row.data(Qt::DisplayRole).toString().endsWith(QStringLiteral("caf\\xE9")));
    sidebar.list()->setCurrentIndex(row);
    EXPECT_EQ(model().selectedID(), id);
    EXPECT_NE(open<CategoryDetailView>(id), nullptr);
}

}  // namespace
}  // namespace kelvane::test
