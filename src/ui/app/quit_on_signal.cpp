#include "ui/app/quit_on_signal.h"

#include <fcntl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <csignal>

namespace kelvane {
namespace {

// The handler may only do what is safe in a signal: write a byte to a pipe.
int signalWriteFd = -1;

void onSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(signalWriteFd, &byte, 1);
}

}  // namespace

QuitOnSignal::QuitOnSignal(QObject* parent) : QObject(parent) {
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0)
        return;  // then signals end the process as before
    read_ = UniqueFd(fds[0]);
    write_ = UniqueFd(fds[1]);
    signalWriteFd = write_.get();
    notifier_ = new QSocketNotifier(read_.get(), QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, [this] {
        char byte = 0;
        while (::read(read_.get(), &byte, 1) > 0) {
        }
        QCoreApplication::quit();
    });
    struct sigaction action {};
    action.sa_handler = onSignal;
    ::sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGINT, &action, nullptr);
}

QuitOnSignal::~QuitOnSignal() {
    if (!write_.valid()) return;
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGINT, SIG_DFL);
    signalWriteFd = -1;
}

}  // namespace kelvane
