#pragma once

#include <QString>
#include <functional>

#include "core/clean_category.h"
#include "ui/app/screen.h"

class QAction;
class QBoxLayout;
class QVBoxLayout;

namespace kelvane {

class InsetList;

// The frame the two tool-backed screens share: a header with the category's
// title row, detail and an explanation, a divider, the list below, and "更新"
// in the window's toolbar.
class ToolScreen : public Screen {
    Q_OBJECT
  public:
    QList<QAction*> toolbarActions() const override;

    InsetList* list() const { return list_; }

  protected:
    // `reload` is what "更新" does.
    ToolScreen(ModelBridge& bridge, CleanCategory category, std::function<void()> reload,
               QWidget* parent);

    // The header's layout, and the widget that parents what goes in it.
    QBoxLayout* headerLayout() const { return headerLayout_; }
    QWidget* header() const { return header_; }

    // A column of the title row (with `trailing` after it, when given), the
    // category's detail and `explanation` in the caption style.
    QVBoxLayout* describedTitle(const QString& explanation, QWidget* trailing = nullptr);

    CleanCategory category_;

  private:
    QWidget* header_;
    QBoxLayout* headerLayout_;
    InsetList* list_;
    QAction* reload_;
};

}  // namespace kelvane
