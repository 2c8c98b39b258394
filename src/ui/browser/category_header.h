#pragma once

#include <QWidget>
#include <string>
#include <vector>

#include "core/clean_category.h"

class QLabel;
class QToolButton;

namespace kelvane {

class ModelBridge;
class SizeFigure;
class Spinner;

// The top of a folder category's screen: what the category is and how risky
// emptying it is, where it lives (or, when missing, where it was looked for),
// what could not be read, its measured size and counts, and the menu that
// empties it as a whole.
class CategoryHeader : public QWidget {
    Q_OBJECT
  public:
    CategoryHeader(ModelBridge& bridge, CleanCategory category, QWidget* parent = nullptr);

    SizeFigure* figure() const { return figure_; }
    QLabel* counts() const { return counts_; }
    QLabel* roots() const { return roots_; }
    // The places a missing category looked in; shown only while it is missing.
    QLabel* searched() const { return searched_; }
    QWidget* unreadableRow() const { return unreadableRow_; }
    QLabel* unreadableText() const { return unreadableText_; }
    QToolButton* emptyMenuButton() const { return emptyMenu_; }

    static QString advice(Risk risk);
    // The roots for display: home shortened to "~", joined by a middle dot.
    static QString rootsText(const std::vector<std::string>& roots, const std::string& home);

  private:
    void refresh();

    ModelBridge& bridge_;
    const CleanCategory category_;
    QLabel* roots_;
    QLabel* searched_;
    QWidget* unreadableRow_;
    QLabel* unreadableText_;
    Spinner* spinner_;
    SizeFigure* figure_;
    QLabel* counts_;
    QToolButton* emptyMenu_;
};

}  // namespace kelvane
