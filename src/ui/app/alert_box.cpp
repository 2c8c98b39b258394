#include "ui/app/alert_box.h"

#include <QGridLayout>
#include <QLabel>
#include <QSpacerItem>

#include "ui/components/display_text.h"

namespace kelvane::AlertBox {

QMessageBox* create(QWidget* parent, QMessageBox::Icon icon, const std::string& text,
                    const std::string& informativeText) {
    auto* box = new QMessageBox(parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(QStringLiteral("Kelvane"));
    box->setIcon(icon);
    box->setTextFormat(Qt::PlainText);
    box->setText(DisplayText::sentence(text));
    box->setInformativeText(DisplayText::sentence(informativeText));
    // File names are shown as they are, never read as markup.
    if (auto* label = box->findChild<QLabel*>(QStringLiteral("qt_msgbox_informativelabel")))
        label->setTextFormat(Qt::PlainText);
    // QMessageBox sizes itself to its layout's minimum width, which for
    // wrapping Japanese text is a few characters; a row of that width below
    // everything else keeps it to a readable measure.
    if (auto* grid = qobject_cast<QGridLayout*>(box->layout())) {
        grid->addItem(new QSpacerItem(kMinimumWidth, 0, QSizePolicy::Fixed, QSizePolicy::Minimum),
                      grid->rowCount(), 0, 1, grid->columnCount());
    }
    return box;
}

QMessageBox::Icon noticeIcon(std::string_view notice) {
    const auto says = [notice](std::string_view words) {
        return notice.find(words) != std::string_view::npos;
    };
    if (says("失敗")) return QMessageBox::Critical;
    // Items left behind, or an administrator deletion that cannot start.
    if (says("できませんでした") || says("が必要です")) return QMessageBox::Warning;
    return QMessageBox::Information;
}

}  // namespace kelvane::AlertBox
