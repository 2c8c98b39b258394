#pragma once

#include "core/clean_category.h"
#include "ui/app/screen.h"

class QAction;

namespace kelvane {

class BreadcrumbBar;
class BrowserFooter;
class CategoryHeader;
class EntryListView;

// The screen of one folder category: its header, and a folder browser (path
// bar, list sorted by size, footer) over the model's browser state. It keeps
// no state of its own; everything shown follows the model.
class CategoryDetailView : public Screen {
    Q_OBJECT
  public:
    CategoryDetailView(ModelBridge& bridge, CleanCategory category, QWidget* parent = nullptr);

    QList<QAction*> toolbarActions() const override;

    CategoryHeader& header() const { return *header_; }
    BreadcrumbBar& breadcrumbs() const { return *breadcrumbs_; }
    EntryListView& list() const { return *list_; }
    BrowserFooter& footer() const { return *footer_; }
    // "停止" while the category is scanned, "再スキャン" otherwise.
    QAction* scanAction() const { return scanAction_; }
    QAction* revealAction() const { return revealAction_; }

  private:
    // Delete and Shift+Delete ask to trash or delete the selection; Backspace
    // and Alt+Up go up a level. Return, which opens a folder, is the list's.
    void addKeys();
    void refreshActions();

    const CleanCategory category_;
    CategoryHeader* header_;
    BreadcrumbBar* breadcrumbs_;
    EntryListView* list_;
    BrowserFooter* footer_;
    QAction* scanAction_;
    QAction* revealAction_;
};

}  // namespace kelvane
