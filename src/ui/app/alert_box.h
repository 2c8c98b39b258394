#pragma once

#include <QMessageBox>
#include <string>
#include <string_view>

class QWidget;

namespace kelvane {

// The window's modal alerts, the confirmation of a destructive action and the
// notice: a QMessageBox titled "Kelvane", deleted when closed, wide enough
// that a sentence wraps between words instead of after every few characters,
// its texts from the model shown by the display rule for file-system bytes.
namespace AlertBox {

// At least this wide, so that the model's sentences fit a line or two.
inline constexpr int kMinimumWidth = 460;

// Buttons added afterwards keep the layout; setting the icon or the texts
// again would rebuild it without the minimum width.
QMessageBox* create(QWidget* parent, QMessageBox::Icon icon, const std::string& text,
                    const std::string& informativeText);

// How a notice reads: an error when it reports that a step failed, a warning
// when some items could not be deleted or deletion was not possible, else
// information.
QMessageBox::Icon noticeIcon(std::string_view notice);

}  // namespace AlertBox
}  // namespace kelvane
