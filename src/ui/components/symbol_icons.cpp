#include "ui/components/symbol_icons.h"

#include <QDir>
#include <QGuiApplication>
#include <QHash>
#include <QPainter>
#include <QPalette>
#include <QStringList>

namespace kelvane::SymbolIcons {
namespace {

// Symbol name -> freedesktop/Breeze icon names, best first.
const QHash<QString, QStringList>& table() {
    static const QHash<QString, QStringList> map{
        {"archivebox", {"package-x-generic", "archive-manager"}},
        {"archivebox.fill", {"application-x-archive", "package-x-generic"}},
        {"shippingbox", {"package", "package-x-generic"}},
        {"lock.shield", {"security-high", "system-lock-screen"}},
        {"clock.arrow.circlepath", {"chronometer-reset", "view-history"}},
        {"doc.text", {"text-x-generic", "document-new"}},
        {"doc.text.magnifyingglass", {"document-preview", "edit-find"}},
        {"hammer", {"run-build", "tools"}},
        {"iphone", {"smartphone", "phone"}},
        {"eye", {"view-visible", "view-preview"}},
        {"wrench.and.screwdriver", {"tools", "configure"}},
        {"ipad.and.iphone", {"tablet", "smartphone"}},
        {"memorychip", {"memory", "cpu"}},
        {"square.stack.3d.down.right", {"layer-visible-on", "object-order-lower"}},
        {"mug", {"coffee", "applications-utilities"}},
        {"tray.full", {"mail-folder-inbox", "folder-documents"}},
        {"cup.and.saucer", {"java", "coffee"}},
        {"cube", {"cube", "package"}},
        {"gearshape.2", {"configure", "settings-configure"}},
        {"cylinder.split.1x2", {"server-database", "drive-harddisk"}},
        {"candybarphone", {"phone", "smartphone"}},
        {"folder.badge.gearshape", {"folder-tar", "folder"}},
        {"square.stack", {"object-group", "folder"}},
        {"square.stack.fill", {"object-group", "folder"}},
        {"envelope", {"mail-message", "internet-mail"}},
        {"message", {"mail-message-new", "dialog-messages"}},
        {"externaldrive.badge.icloud", {"drive-harddisk", "folder-cloud"}},
        {"arrow.down.circle", {"download", "go-down"}},
        {"trash", {"user-trash", "edit-delete"}},
        {"app.badge", {"applications-all", "application-x-executable"}},
        {"clock.arrow.2.circlepath", {"view-calendar-timeline", "view-history"}},
        {"books.vertical", {"bookmarks", "folder-documents"}},
        {"building.columns", {"folder-root", "folder"}},
        {"house", {"user-home", "go-home"}},
        {"gauge.with.dots.needle.33percent", {"speedometer", "utilities-system-monitor"}},
        {"folder", {"folder"}},
        {"folder.badge.plus", {"folder-new", "list-add"}},
        {"arrow.clockwise", {"view-refresh"}},
        {"chevron.right", {"go-next"}},
        {"chevron.left", {"go-previous"}},
        {"doc", {"text-x-generic"}},
        {"link", {"emblem-symbolic-link", "insert-link"}},
        {"stop.circle", {"process-stop", "media-playback-stop"}},
        {"xmark.bin", {"edit-delete-shred", "edit-delete"}},
        {"lock.fill", {"object-locked", "lock"}},
        {"tray", {"folder-open", "inbox"}},
        {"arrow.turn.down.right", {"go-jump", "emblem-symbolic-link"}},
        {"applewatch", {"chronometer", "clock"}},
        {"appletv", {"video-television", "computer"}},
        {"visionpro", {"view-visible", "camera-photo"}},
        {"internaldrive", {"drive-harddisk"}},
        {"sparkles", {"edit-clear-all", "edit-clear"}},
        {"chart.bar", {"view-statistics", "office-chart-bar"}},
        {"list.bullet.rectangle", {"view-list-details", "view-list-text"}},
        {"wrench.and.screwdriver.fill", {"tools", "configure"}},
        {"exclamationmark.triangle", {"dialog-warning", "emblem-warning"}},
        {"exclamationmark.triangle.fill", {"dialog-warning", "emblem-warning"}},
        {"clock", {"view-history", "chronometer"}},
        {"hand.raised", {"security-medium", "dialog-warning"}},
    };
    return map;
}

}  // namespace

void installTheme() {
    QStringList paths = QIcon::themeSearchPaths();
    QString dataDirs = qEnvironmentVariable("XDG_DATA_DIRS");
    if (dataDirs.isEmpty()) dataDirs = "/usr/local/share:/usr/share";
    for (const QString& dir : dataDirs.split(':', Qt::SkipEmptyParts)) {
        const QString icons = dir + "/icons";
        if (!paths.contains(icons) && QDir(icons).exists()) paths << icons;
    }
    QIcon::setThemeSearchPaths(paths);
    if (QIcon::themeName().isEmpty() || QIcon::themeName() == "hicolor" ||
        QIcon::themeName().startsWith("breeze")) {
        // Breeze draws dark glyphs; on a dark palette they would vanish.
        const bool dark = QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
        QIcon::setThemeName(dark ? "breeze-dark" : "breeze");
    }
    QIcon::setFallbackThemeName("hicolor");
}

QIcon icon(const std::string& symbolName) {
    const auto& map = table();
    const auto it = map.constFind(QString::fromStdString(symbolName));
    if (it != map.constEnd()) {
        for (const QString& name : *it) {
            if (QIcon::hasThemeIcon(name)) return QIcon::fromTheme(name);
        }
    }
    return QIcon::fromTheme("folder");
}

QPixmap tinted(const std::string& symbolName, const QColor& color, int size) {
    // Sidebar rows repaint often while scans run; tint each symbol once.
    static QHash<QString, QPixmap> cache;
    const QString key = QString::fromStdString(symbolName) + QLatin1Char('|') +
                        color.name(QColor::HexArgb) + QLatin1Char('|') + QString::number(size);
    if (const auto it = cache.constFind(key); it != cache.constEnd()) return *it;
    QPixmap pixmap = icon(symbolName).pixmap(size, size);
    if (pixmap.isNull()) return pixmap;
    QPainter painter(&pixmap);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), color);
    painter.end();
    cache.insert(key, pixmap);
    return pixmap;
}

}  // namespace kelvane::SymbolIcons
