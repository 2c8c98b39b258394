// Symbols and file icons come from the icon theme: each must resolve to an
// icon that still says what it means once it is drawn.
#include <gtest/gtest.h>

#include <QColor>
#include <QIcon>
#include <QImage>
#include <set>

#include "core/catalog.h"
#include "core/linux_catalog.h"
#include "ui/components/file_icon.h"
#include "ui/components/symbol_icons.h"

namespace kelvane::test {
namespace {

QImage imageOf(const QIcon& icon) {
    return icon.pixmap(FileIcon::kSize, FileIcon::kSize)
        .toImage()
        .convertToFormat(QImage::Format_ARGB32);
}

TEST(Icons, EveryCatalogSymbolHasItsOwnThemeIcon) {
    std::set<std::string> symbols;
    for (const CleanCategory& c : Catalog::build("/home/u", "/tmp")) symbols.insert(c.icon);
    for (const CleanCategory& c : LinuxCatalog::build("/home/u", "")) symbols.insert(c.icon);
    for (const std::string& symbol : symbols) {
        // The plain folder is what a symbol without a theme icon falls back to.
        const QIcon icon = SymbolIcons::icon(symbol);
        EXPECT_NE(icon.name(), QStringLiteral("folder")) << symbol;
        EXPECT_FALSE(icon.pixmap(16, 16).isNull()) << symbol;
    }
}

TEST(Icons, TheTintedWarningTriangleKeepsItsExclamationMark) {
    // Down the middle: the apex, the gap of the "!", ink again, the base.
    const QImage glyph =
        SymbolIcons::tinted("exclamationmark.triangle.fill", QColor(255, 149, 0), 20).toImage();
    int changes = 0;
    bool ink = false;
    for (int y = 0; y < glyph.height(); ++y) {
        const bool here = qAlpha(glyph.pixel(glyph.width() / 2, y)) >= 128;
        if (here != ink) ++changes;
        ink = here;
    }
    EXPECT_GE(changes, 4) << "the triangle is drawn without its mark";
}

TEST(Icons, FilesOfNoKnownTypeAndLinksGetAFileIconNotAQuestionMark) {
    const QImage questionMark = imageOf(QIcon::fromTheme(QStringLiteral("application-octet-stream")));
    for (const char* name : {"/h/.bashrc", "/h/blob.bin", "/h/pkg-1.0-py3-none-any.whl", "/h/a.o"}) {
        const QImage icon = imageOf(FileIcon::forPath(name, false, false, false));
        EXPECT_FALSE(icon.isNull()) << name;
        EXPECT_NE(icon, questionMark) << name;
    }
    // A link looks like what it is named as, with a mark of its own.
    const QImage archive = imageOf(FileIcon::forPath("/h/a.zip", false, false, false));
    const QImage link = imageOf(FileIcon::forPath("/h/a.zip", false, true, false));
    EXPECT_NE(link, archive);
    EXPECT_NE(imageOf(FileIcon::forPath("/h/dangling", false, true, false)), questionMark);
}

}  // namespace
}  // namespace kelvane::test
