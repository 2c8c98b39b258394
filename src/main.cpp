#include <QApplication>

#include "ui/app/kelvane_app.h"
#include "ui/app/main_window.h"

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    kelvane::KelvaneApp::configureApplication();
    kelvane::KelvaneApp app;
    app.window().show();
    return QApplication::exec();
}
