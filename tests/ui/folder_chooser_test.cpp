// The folder chooser is Qt's own dialog: it must speak the interface's
// language and start in the home folder.
#include <QDir>
#include <QFileDialog>
#include <QTimer>

#include "support/scoped_env.h"
#include "ui/app/desktop_services.h"
#include "ui_fixture.h"

namespace kelvane::test {
namespace {

class FolderChooserTest : public UiTest {};

TEST_F(FolderChooserTest, SpeaksJapaneseAndStartsAtHome) {
    // A home that is not the working folder, so starting in the latter shows.
    const ScopedEnv env("HOME", home);
    QString folder;
    QString typeLabel;
    QTimer::singleShot(0, [&] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr) return;
        folder = dialog->directory().absolutePath();
        typeLabel = dialog->labelText(QFileDialog::FileType);
        dialog->reject();
    });
    DesktopServices services;
    EXPECT_EQ(services.chooseFolder(), std::nullopt);
    EXPECT_EQ(folder, QDir(QString::fromStdString(home)).absolutePath());
    EXPECT_EQ(typeLabel, QStringLiteral("ファイルの種類:"));
}

}  // namespace
}  // namespace kelvane::test
