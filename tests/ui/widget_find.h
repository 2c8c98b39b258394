#pragma once

#include <QAbstractButton>
#include <QAction>
#include <QLabel>
#include <QWidget>

namespace kelvane::test {

// The first visible button under `root` whose text is `text`; nullptr when none.
inline QAbstractButton* findButton(const QWidget* root, const QString& text) {
    for (QAbstractButton* button : root->findChildren<QAbstractButton*>()) {
        if (button->text() == text && button->isVisibleTo(root->window())) return button;
    }
    return nullptr;
}

// Whether some visible label under `root` shows exactly `text`.
inline bool showsLabel(const QWidget* root, const QString& text) {
    for (const QLabel* label : root->findChildren<QLabel*>()) {
        if (label->text() == text && label->isVisibleTo(root->window())) return true;
    }
    return false;
}

// The texts of `actions` in order, a divider as "-".
inline QStringList actionTexts(const QList<QAction*>& actions) {
    QStringList texts;
    for (const QAction* action : actions) texts << (action->isSeparator() ? "-" : action->text());
    return texts;
}

}  // namespace kelvane::test
