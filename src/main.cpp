#include <QApplication>

#include "ui/kelvane_app.h"
#include "ui/main_window.h"

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    kelvane::KelvaneApp::configureApplication();
    kelvane::KelvaneApp app;
    app.window().show();
    return QApplication::exec();
}
