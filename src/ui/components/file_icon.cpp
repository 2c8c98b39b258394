#include "ui/components/file_icon.h"

#include <QHash>
#include <QMimeDatabase>
#include <QPixmap>

namespace kelvane::FileIcon {
namespace {

QIcon themed(const QString& name, const QString& fallback) {
    QIcon icon = QIcon::fromTheme(name);
    return icon.isNull() ? QIcon::fromTheme(fallback) : icon;
}

}  // namespace

QIcon forPath(const std::string& path, bool isDir, bool isSymlink, bool isPackage) {
    static QHash<QString, QIcon> cache;
    QString key;
    if (isPackage) {
        key = QStringLiteral("inode/x-package");
    } else if (isDir) {
        key = isSymlink ? QStringLiteral("inode/x-folder-link") : QStringLiteral("inode/directory");
    } else {
        // By name only: reading contents for every row of a big folder would be slow.
        static const QMimeDatabase database;
        key = database
                  .mimeTypeForFile(
                      QString::fromLocal8Bit(path.data(), static_cast<qsizetype>(path.size())),
                      QMimeDatabase::MatchExtension)
                  .name();
        if (isSymlink) key += QStringLiteral("+link");
    }
    const auto it = cache.constFind(key);
    if (it != cache.constEnd()) return *it;

    QIcon icon;
    if (key == QStringLiteral("inode/x-package")) {
        icon = themed(QStringLiteral("package-x-generic"), QStringLiteral("folder"));
    } else if (key.startsWith(QStringLiteral("inode/"))) {
        icon = themed(isSymlink ? QStringLiteral("folder-link") : QStringLiteral("folder"),
                      QStringLiteral("folder"));
    } else {
        static const QMimeDatabase database;
        const QMimeType type = database.mimeTypeForName(key.section('+', 0, 0));
        icon = themed(type.iconName(), type.genericIconName());
        if (icon.isNull()) icon = QIcon::fromTheme(QStringLiteral("text-x-generic"));
    }
    cache.insert(key, icon);
    return icon;
}

QPixmap pixmap(const std::string& path, bool isDir, bool isSymlink, bool isPackage) {
    return forPath(path, isDir, isSymlink, isPackage).pixmap(kSize, kSize);
}

}  // namespace kelvane::FileIcon
