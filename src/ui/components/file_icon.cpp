#include "ui/components/file_icon.h"

#include <QHash>
#include <QMimeDatabase>
#include <QPainter>
#include <QPixmap>

#include "core/path_text.h"

namespace kelvane::FileIcon {
namespace {

// The first of `names` the icon theme has; a null icon when it has none.
QIcon firstThemed(std::initializer_list<const char*> names) {
    for (const char* name : names) {
        const QString themed = QString::fromLatin1(name);
        if (QIcon::hasThemeIcon(themed)) return QIcon::fromTheme(themed);
    }
    return {};
}

// A plain page: the icon of a file whose type is not known.
QIcon genericFile() {
    return firstThemed({"application-x-generic", "application-x-zerosize", "text-x-generic"});
}

// Types that say nothing about the file beyond "some bytes": a name without
// a known extension (dotfiles, ".bin", ".whl", cache blobs). Breeze draws
// these, and object files, as a question mark, which reads as an error
// rather than as a file.
bool isUntyped(const QMimeType& type) {
    return type.isDefault() || type.name() == QStringLiteral("application/x-object");
}

QIcon forType(const QMimeType& type) {
    if (isUntyped(type)) return genericFile();
    for (const QString& name : {type.iconName(), type.genericIconName()}) {
        if (QIcon::hasThemeIcon(name)) return QIcon::fromTheme(name);
    }
    return genericFile();
}

// `base` with the theme's link emblem in its lower left corner, so a link
// shows the kind of item it is named as and that it is only a link.
QIcon withLinkEmblem(const QIcon& base) {
    const QIcon emblem = firstThemed({"emblem-symbolic-link", "emblem-link", "insert-link"});
    if (emblem.isNull()) return base;
    QIcon out;
    for (const int size : {kSize, 2 * kSize}) {
        QPixmap canvas(size, size);
        canvas.fill(Qt::transparent);
        QPainter painter(&canvas);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawPixmap(0, 0, base.pixmap(size, size).scaled(size, size, Qt::KeepAspectRatio,
                                                                   Qt::SmoothTransformation));
        const int mark = size * 5 / 9;
        painter.drawPixmap(0, size - mark, emblem.pixmap(mark, mark));
        painter.end();
        out.addPixmap(canvas);
    }
    return out;
}

}  // namespace

QIcon forPath(const std::string& path, bool isDir, bool isSymlink, bool isPackage) {
    static QHash<QString, QIcon> cache;
    static const QMimeDatabase database;
    QString key;
    QMimeType type;
    if (isPackage) {
        key = QStringLiteral("inode/x-package");
    } else if (isDir) {
        key = QStringLiteral("inode/directory");
    } else {
        // By name only: reading contents for every row of a big folder would
        // be slow. The name is matched as text; the bytes stay the identity.
        const std::string name = PathText::lastComponent(path);
        type = database.mimeTypeForFile(
            QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())),
            QMimeDatabase::MatchExtension);
        key = type.name();
    }
    if (isSymlink) key += QStringLiteral("+link");
    const auto it = cache.constFind(key);
    if (it != cache.constEnd()) return *it;

    QIcon icon;
    if (isPackage) {
        icon = firstThemed({"package-x-generic", "folder"});
    } else if (isDir) {
        icon = QIcon::fromTheme(QStringLiteral("folder"));
    } else {
        icon = forType(type);
    }
    if (isSymlink) icon = withLinkEmblem(icon);
    cache.insert(key, icon);
    return icon;
}

QPixmap pixmap(const std::string& path, bool isDir, bool isSymlink, bool isPackage) {
    return forPath(path, isDir, isSymlink, isPackage).pixmap(kSize, kSize);
}

}  // namespace kelvane::FileIcon
