#pragma once

#include "core/clean_category.h"
#include "ui/app/screen.h"
#include "ui/browser/browser_layout.h"

class QAction;
class QStackedWidget;

namespace kelvane {

class BreadcrumbBar;
class BrowserFooter;
class BrowserLayoutSwitch;
class BrowserSortSwitch;
class CategoryHeader;
class EntryListView;
class FolderMapView;

// The screen of one folder category: its header, and a folder browser (path
// bar, list sorted by size or map of sizes, footer) over the model's browser
// state. It keeps no state of its own; everything shown follows the model,
// and the list-or-map choice is the window's `layout`.
class CategoryDetailView : public Screen {
    Q_OBJECT
  public:
    CategoryDetailView(ModelBridge& bridge, CleanCategory category, BrowserLayout& layout,
                       QWidget* parent = nullptr);

    QList<QAction*> toolbarActions() const override;

    CategoryHeader& header() const { return *header_; }
    BreadcrumbBar& breadcrumbs() const { return *breadcrumbs_; }
    EntryListView& list() const { return *list_; }
    FolderMapView& map() const { return *map_; }
    BrowserLayoutSwitch& layoutSwitch() const { return *switch_; }
    BrowserSortSwitch& sortSwitch() const { return *sort_; }
    BrowserFooter& footer() const { return *footer_; }
    // "停止" while the category is scanned, "再スキャン" otherwise.
    QAction* scanAction() const { return scanAction_; }
    QAction* revealAction() const { return revealAction_; }

  private:
    // Delete and Shift+Delete ask to trash or delete the selection; Backspace
    // and Alt+Up go up a level. Return, which opens a folder, is the list's.
    void addKeys();
    void refreshActions();
    void showLayout(BrowserLayout layout);

    const CleanCategory category_;
    CategoryHeader* header_;
    BreadcrumbBar* breadcrumbs_;
    BrowserLayout& layout_;
    BrowserLayoutSwitch* switch_;
    QStackedWidget* stack_;
    EntryListView* list_;
    FolderMapView* map_;
    BrowserFooter* footer_;
    BrowserSortSwitch* sort_;
    QAction* scanAction_;
    QAction* revealAction_;
};

}  // namespace kelvane
