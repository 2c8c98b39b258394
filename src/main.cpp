#include <QApplication>

#include "ui/main_window.h"
#include "ui/symbol_icons.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName("Kelvane");
    QApplication::setOrganizationName("Kelvane");
    kelvane::SymbolIcons::installTheme();

    kelvane::MainWindow window;
    window.show();
    return QApplication::exec();
}
