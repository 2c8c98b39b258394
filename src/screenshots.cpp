// Renders the window to PNG files for a human look at every screen, headless
// (QT_QPA_PLATFORM=offscreen is set unless a platform was chosen).
// Usage: kelvane-screenshots OUTPUT_FOLDER
#include <QApplication>
#include <QDir>
#include <QPixmap>
#include <cstdio>

#include "ui/main_window.h"
#include "ui/symbol_icons.h"

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setApplicationName("Kelvane");
    QApplication::setOrganizationName("Kelvane");
    kelvane::SymbolIcons::installTheme();
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("screenshots");
    if (!QDir().mkpath(out)) {
        std::fprintf(stderr, "cannot create %s\n", argv[1]);
        return 1;
    }
    kelvane::MainWindow window;
    window.resize(1100, 720);
    window.show();
    QApplication::processEvents();
    const QString file = out + "/window.png";
    if (!window.grab().save(file)) return 1;
    std::printf("%s\n", qPrintable(file));
    return 0;
}
