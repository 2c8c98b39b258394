#include "ui/app/desktop_services.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QIdentityProxyModel>
#include <QLocale>
#include <QSettings>
#include <QTreeView>
#include <QUrl>

#include "core/fmt.h"
#include "core/path_text.h"

namespace kelvane {
namespace {

// A file URL straight from the path's bytes, so names that are not UTF-8
// reach the file manager unchanged.
QUrl fileUrl(const std::string& path) {
    return QUrl::fromEncoded("file://" +
                             QUrl::toPercentEncoding(QByteArray::fromStdString(path), "/"));
}

// The rows of Qt's folder chooser as the rest of the window writes them:
// Qt's file model writes the date in the system locale (English under the C
// locale) and the type "Folder" untranslated.
class ChooserRows : public QIdentityProxyModel {
  public:
    using QIdentityProxyModel::QIdentityProxyModel;

    QVariant data(const QModelIndex& index, int role) const override {
        const auto* files = qobject_cast<const QFileSystemModel*>(sourceModel());
        if (role == Qt::DisplayRole && files != nullptr) {
            const QModelIndex source = mapToSource(index);
            if (index.column() == kTypeColumn && files->isDir(source))
                return QStringLiteral("フォルダ");
            // Sizes as every other figure in the window, not Qt's "MiB".
            if (index.column() == kSizeColumn && !files->isDir(source))
                return QString::fromStdString(Fmt::bytes(files->size(source)));
            if (index.column() == kDateColumn)
                return QLocale().toString(files->lastModified(source), QLocale::ShortFormat);
        }
        return QIdentityProxyModel::data(index, role);
    }

    // QFileSystemModel's columns: name, size, type, date.
    static constexpr int kSizeColumn = 1;
    static constexpr int kTypeColumn = 2;
    static constexpr int kDateColumn = 3;
};

}  // namespace

std::optional<std::string> DesktopServices::chooseFolder() {
    QFileDialog dialog(window_, QStringLiteral("サイズを調べたいフォルダを選択"));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly, true);
    dialog.setFilter(QDir::AllDirs | QDir::Hidden | QDir::NoDotAndDotDot);
    dialog.setLabelText(QFileDialog::Accept, QStringLiteral("調べる"));
    dialog.setLabelText(QFileDialog::LookIn, QStringLiteral("サイズを調べたいフォルダを選択"));
    dialog.setProxyModel(new ChooserRows(&dialog));
    dialog.resize(760, 480);
    // Qt sizes the date column for the system locale's dates, which may be
    // shorter than the ones shown.
    if (auto* details = dialog.findChild<QTreeView*>()) {
        details->header()->setSectionResizeMode(ChooserRows::kDateColumn,
                                                QHeaderView::ResizeToContents);
    }
    // The working folder means nothing to someone who started the app from a menu.
    dialog.setDirectory(QDir::home());
    if (dialog.exec() != QDialog::Accepted) return std::nullopt;
    const QStringList chosen = dialog.selectedFiles();
    if (chosen.isEmpty()) return std::nullopt;
    std::string path = QFile::encodeName(chosen.front()).toStdString();
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

namespace {

// Qt's file chooser in the window's language, sized for the dates it shows.
void prepareFileDialog(QFileDialog& dialog) {
    dialog.setProxyModel(new ChooserRows(&dialog));
    dialog.setNameFilters(
        {QStringLiteral("スキャン結果 (*.json)"), QStringLiteral("すべてのファイル (*)")});
    dialog.resize(760, 480);
    if (auto* details = dialog.findChild<QTreeView*>()) {
        for (const int column :
             {ChooserRows::kSizeColumn, ChooserRows::kTypeColumn, ChooserRows::kDateColumn})
            details->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
    }
}

std::optional<std::string> chosenPath(QFileDialog& dialog) {
    if (dialog.exec() != QDialog::Accepted) return std::nullopt;
    const QStringList chosen = dialog.selectedFiles();
    if (chosen.isEmpty()) return std::nullopt;
    return QFile::encodeName(chosen.front()).toStdString();
}

}  // namespace

std::optional<std::string> DesktopServices::chooseSavedScan() {
    QFileDialog dialog(window_, QStringLiteral("スキャン結果を開く"));
    dialog.setFileMode(QFileDialog::ExistingFile);
    dialog.setLabelText(QFileDialog::Accept, QStringLiteral("開く"));
    dialog.setLabelText(QFileDialog::LookIn,
                        QStringLiteral("ncdu・gdu・kelvane-scan の書き出したファイル"));
    prepareFileDialog(dialog);
    dialog.setDirectory(QDir::home());
    return chosenPath(dialog);
}

std::optional<std::string> DesktopServices::chooseExportFile(const std::string& suggestedName) {
    QFileDialog dialog(window_, QStringLiteral("スキャン結果を書き出す"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setDefaultSuffix(QStringLiteral("json"));
    dialog.setLabelText(QFileDialog::Accept, QStringLiteral("書き出す"));
    dialog.setLabelText(QFileDialog::LookIn, QStringLiteral("ncdu の形式で保存します"));
    prepareFileDialog(dialog);
    dialog.setDirectory(QDir::home());
    dialog.selectFile(QFile::decodeName(QByteArray::fromStdString(suggestedName)));
    return chosenPath(dialog);
}

void DesktopServices::reveal(const std::vector<std::string>& paths) {
    if (paths.empty()) return;
    QStringList uris;
    for (const std::string& path : paths) uris << QString::fromLatin1(fileUrl(path).toEncoded());
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << uris << QString();
    const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 2000);
    if (reply.type() == QDBusMessage::ReplyMessage) return;
    // No file manager on the bus: open the folder that holds the first item.
    QDesktopServices::openUrl(fileUrl(PathText::parent(paths.front())));
}

std::optional<std::string> DesktopServices::initialSelection() {
    const QSettings settings(QStringLiteral("Kelvane"), QStringLiteral("Kelvane"));
    const QVariant value = settings.value(QStringLiteral("initialSelection"));
    if (!value.isValid()) return std::nullopt;
    return value.toString().toStdString();
}

}  // namespace kelvane
