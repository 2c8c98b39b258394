#include "ui/components/lock_note.h"

#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLabel>

#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {

LockNote LockNote::make(QWidget* parent, int top) {
    auto* row = new QWidget(parent);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, top, 0, 0);
    layout->setSpacing(6);
    auto* lock = new QLabel(row);
    lock->setPixmap(SymbolIcons::tinted("lock.fill", PaletteRoles::orange(),
                                        QFontMetrics(Typography::caption()).height()));
    layout->addWidget(lock, 0, Qt::AlignTop);
    QLabel* text = StyledLabel::secondary({}, Typography::caption(), row);
    text->setWordWrap(true);
    layout->addWidget(text, 1);
    return {row, text};
}

}  // namespace kelvane
