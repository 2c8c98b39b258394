#pragma once

class QLabel;
class QWidget;

namespace kelvane {

// A caption beside an orange lock: what could not be read, and why. The
// overview's biggest-categories card and a category's header both say it.
struct LockNote {
    QWidget* row;  // hide it while there is nothing to say
    QLabel* text;  // set with StyledLabel::setText

    // `top` is the space above the row.
    static LockNote make(QWidget* parent, int top);
};

}  // namespace kelvane
