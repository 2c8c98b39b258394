#include "ui/components/symbol_icons.h"

#include <QDir>
#include <QGuiApplication>
#include <QHash>
#include <QImage>
#include <QPalette>
#include <QStringList>
#include <algorithm>
#include <cmath>

namespace kelvane::SymbolIcons {
namespace {

// Symbol name -> freedesktop/Breeze icon names, best first. Most symbols are
// drawn tinted in one colour, so each name is one that Breeze draws as a
// one-colour line glyph at 16 to 48 px (its "-symbolic" icons, most "actions"
// and "status" icons): a full-colour icon tinted flat becomes a blob that no
// longer says anything.
const QHash<QString, QStringList>& table() {
    static const QHash<QString, QStringList> map{
        {"archivebox", {"package-x-generic", "archive-insert"}},
        {"archivebox.fill", {"application-x-archive", "package-x-generic"}},
        {"shippingbox", {"package", "package-x-generic"}},
        {"lock.shield", {"security-high-symbolic", "security-high"}},
        {"clock.arrow.circlepath", {"chronometer-reset", "view-refresh"}},
        {"doc.text", {"text-x-generic", "document-new"}},
        {"doc.text.magnifyingglass", {"document-preview", "edit-find"}},
        {"hammer", {"run-build", "tools-symbolic"}},
        {"iphone", {"phone-apple-iphone-symbolic", "phone-symbolic", "smartphone"}},
        {"eye", {"view-visible", "view-preview"}},
        {"wrench.and.screwdriver", {"tools-symbolic", "configure"}},
        {"wrench.and.screwdriver.fill", {"tools-symbolic", "configure"}},
        {"ipad.and.iphone", {"tablet", "phone-symbolic"}},
        // A chip card: the nearest Breeze has to a memory chip.
        {"memorychip", {"auth-sim-symbolic", "media-flash-symbolic"}},
        {"square.stack.3d.down.right", {"layer-visible-on", "object-order-lower"}},
        // Breeze's cup is the Java type's icon; it is the only mug it draws.
        {"mug", {"application-x-java", "drink-beer"}},
        {"cup.and.saucer", {"application-x-java", "folder-java"}},
        {"tray.full", {"mail-folder-inbox", "mail-inbox-symbolic"}},
        {"cube", {"draw-cuboid", "shape-cuboid", "package"}},
        {"gearshape.2", {"folder-build", "configure"}},
        {"cylinder.split.1x2", {"server-database", "folder-database"}},
        {"candybarphone", {"phone-symbolic", "phone"}},
        {"folder.badge.gearshape", {"folder-appimage", "configure"}},
        {"square.stack", {"object-group", "edit-copy-symbolic"}},
        {"square.stack.fill", {"object-group", "edit-copy-symbolic"}},
        {"envelope", {"mail-message", "internet-mail"}},
        {"message", {"dialog-messages", "mail-message"}},
        {"externaldrive.badge.icloud", {"drive-harddisk-symbolic", "drive-harddisk"}},
        {"arrow.down.circle", {"download", "go-down"}},
        {"trash", {"user-trash-symbolic", "user-trash"}},
        {"app.badge", {"view-app-grid-symbolic", "applications-all"}},
        {"clock.arrow.2.circlepath", {"backup", "document-open-recent-symbolic"}},
        {"books.vertical", {"folder-book", "bookmarks"}},
        {"building.columns", {"folder-library", "folder-root-symbolic"}},
        {"house", {"go-home-symbolic", "user-home"}},
        {"globe", {"globe", "map-globe"}},
        {"photo", {"folder-pictures-symbolic", "image-x-generic"}},
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
        {"lock.fill", {"object-locked", "system-lock-screen-symbolic"}},
        {"tray", {"mail-folder-inbox", "folder-open-symbolic"}},
        {"arrow.turn.down.right", {"go-jump", "emblem-symbolic-link"}},
        {"applewatch", {"chronometer", "clock"}},
        {"appletv", {"video-television", "computer-symbolic"}},
        {"visionpro", {"view-visible", "camera-photo"}},
        {"internaldrive", {"drive-harddisk-symbolic", "drive-harddisk"}},
        {"sparkles", {"edit-clear-all", "edit-clear"}},
        {"chart.bar", {"view-statistics", "office-chart-bar"}},
        {"chart.line.uptrend.xyaxis", {"office-chart-line", "view-statistics"}},
        {"list.bullet.rectangle", {"view-list-details", "view-list-text"}},
        {"list.bullet", {"view-list-text", "view-list-symbolic"}},
        {"square.grid.2x2", {"view-grid", "view-grid-symbolic"}},
        // An orange triangle with a white "!": tinting cuts the "!" out.
        {"exclamationmark.triangle", {"data-warning", "emblem-warning"}},
        {"exclamationmark.triangle.fill", {"data-warning", "emblem-warning"}},
        // Not "view-history": Breeze's dark theme draws that as a magnifier.
        {"clock", {"document-open-recent-symbolic", "chronometer"}},
        {"hand.raised", {"security-medium-symbolic", "dialog-warning"}},
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

QPixmap recoloured(const QPixmap& source, const QColor& color) {
    if (source.isNull()) return source;
    // Straight (not premultiplied) alpha, so an edge pixel has the colour of
    // the shape it belongs to.
    QImage image = source.toImage().convertToFormat(QImage::Format_ARGB32);
    // The ink is the darkest colour the icon draws; detail drawn lighter than
    // it (the "!" inside a warning triangle, a highlight) is cut out in
    // proportion, so the glyph keeps that detail in one colour.
    double ink = 1.0;
    for (int y = 0; y < image.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(line[x]) >= 128) ink = std::min<double>(ink, QColor(line[x]).lightnessF());
        }
    }
    const double range = 1.0 - ink;
    const QRgb target = color.rgb();
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            double coverage = qAlpha(line[x]) / 255.0 * color.alphaF();
            // A glyph of one light colour (Breeze's dark theme) has no
            // lighter detail: all of it is ink.
            if (range > 0.02) {
                const double lightness = QColor(line[x]).lightnessF();
                coverage *= std::clamp((1.0 - lightness) / range, 0.0, 1.0);
            }
            line[x] = qRgba(qRed(target), qGreen(target), qBlue(target),
                            static_cast<int>(std::lround(coverage * 255)));
        }
    }
    QPixmap out = QPixmap::fromImage(image);
    out.setDevicePixelRatio(source.devicePixelRatio());
    return out;
}

QPixmap tinted(const std::string& symbolName, const QColor& color, int size) {
    // Sidebar rows repaint often while scans run; tint each symbol once.
    static QHash<QString, QPixmap> cache;
    const QString key = QString::fromStdString(symbolName) + QLatin1Char('|') +
                        color.name(QColor::HexArgb) + QLatin1Char('|') + QString::number(size);
    if (const auto it = cache.constFind(key); it != cache.constEnd()) return *it;
    QPixmap pixmap = recoloured(icon(symbolName).pixmap(size, size), color);
    if (!pixmap.isNull()) cache.insert(key, pixmap);
    return pixmap;
}

}  // namespace kelvane::SymbolIcons
