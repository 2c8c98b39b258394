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
    QAction* reveal = menu->addAction(QStringLiteral("ファイルマネージャで表示"));
    QObject::connect(reveal, &QAction::triggered, menu,
                     [&model, targets] { model.reveal(targets); });
    menu->addSeparator();
    QAction* trash = menu->addAction(QStringLiteral("ゴミ箱へ入れる"));
    QObject::connect(trash, &QAction::triggered, menu,
                     [&model, targets] { model.confirmDelete(targets, false); });
    QAction* erase = menu->addAction(QStringLiteral("完全に削除…"));
    QObject::connect(erase, &QAction::triggered, menu,
                     [&model, targets] { model.confirmDelete(targets, true); });
    if (const std::optional<std::string> readOnly =
            model.selectedID() ? model.readOnlyReason(*model.selectedID()) : std::nullopt) {
        menu->setToolTipsVisible(true);
        for (QAction* action : {reveal, trash, erase}) {
            action->setEnabled(false);
            action->setToolTip(QString::fromStdString(*readOnly));
        }
    }
    return menu;
}

}  // namespace kelvane
