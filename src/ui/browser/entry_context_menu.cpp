#include "ui/browser/entry_context_menu.h"

#include <QMenu>

#include "model/app_model.h"
#include "ui/browser/browser_navigation.h"
#include "ui/browser/entry_list_model.h"

namespace kelvane {

QMenu* entryContextMenu(AppModel& model, const Entry& entry, QWidget* parent) {
    auto* menu = new QMenu(parent);
    const std::vector<std::string> targets = BrowserNavigation::targets(model, entry.path);
    if (EntryListModel::isOpenable(entry)) {
        QObject::connect(menu->addAction(QStringLiteral("開く")), &QAction::triggered, menu,
                         [&model, path = entry.path] { BrowserNavigation::open(model, path); });
    }
    QObject::connect(menu->addAction(QStringLiteral("ファイルマネージャで表示")),
                     &QAction::triggered, menu, [&model, targets] { model.reveal(targets); });
    menu->addSeparator();
    QObject::connect(menu->addAction(QStringLiteral("ゴミ箱へ入れる")), &QAction::triggered, menu,
                     [&model, targets] { model.confirmDelete(targets, false); });
    QObject::connect(menu->addAction(QStringLiteral("完全に削除…")), &QAction::triggered, menu,
                     [&model, targets] { model.confirmDelete(targets, true); });
    return menu;
}

}  // namespace kelvane
