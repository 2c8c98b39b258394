// The UI tests run on Qt's offscreen platform with one QApplication for the
// whole program, created before any test.
#include <gtest/gtest.h>

#include <QApplication>
#include <QLocale>

#include "ui/app/kelvane_app.h"

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    ::testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    kelvane::KelvaneApp::configureApplication();
    // Tests close the window ("終了") and go on with the next one.
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
