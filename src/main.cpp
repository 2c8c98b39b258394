#include <unistd.h>

#include <QApplication>
#include <QTimer>
#include <array>
#include <climits>
#include <string>
#include <vector>

#include "core/path_text.h"
#include "ui/app/kelvane_app.h"
#include "ui/app/main_window.h"
#include "ui/app/quit_on_signal.h"
#include "ui/app/single_instance.h"

namespace {

// The folders and scan files on the command line (a file manager's "Kelvane
// で開く"), as absolute paths of the bytes given; Qt has taken its own options out.
std::vector<std::string> pathsFrom(int argc, char** argv) {
    std::array<char, PATH_MAX> cwd{};
    const std::string here = ::getcwd(cwd.data(), cwd.size()) != nullptr ? cwd.data() : "/";
    std::vector<std::string> folders;
    for (int i = 1; i < argc; ++i) folders.push_back(kelvane::PathText::absolute(argv[i], here));
    return folders;
}

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    kelvane::KelvaneApp::configureApplication();
    const std::vector<std::string> folders = pathsFrom(argc, argv);
    const QString name = kelvane::SingleInstance::defaultName();
    // Another Kelvane runs: it shows the folders and scans (or just its window).
    if (kelvane::SingleInstance::handOver(name, folders)) return 0;

    // Made before the app, so it is gone after it: the app's end still runs
    // when a signal asked for the quit.
    const kelvane::QuitOnSignal quitOnSignal;
    kelvane::KelvaneApp app;
    const auto open = [&app](const std::vector<std::string>& paths) {
        for (const std::string& path : paths) app.model().openPath(path);
        app.window().show();
        app.window().raise();
        app.window().activateWindow();
    };
    kelvane::SingleInstance instance(name, open);
    instance.listen();
    app.window().show();
    // After the window's first show has started the launch scan.
    if (!folders.empty()) QTimer::singleShot(0, &app, [open, folders] { open(folders); });
    return QApplication::exec();
}
