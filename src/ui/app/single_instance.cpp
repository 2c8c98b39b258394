#include "ui/app/single_instance.h"

#include <unistd.h>

#include <QCryptographicHash>
#include <QLocalServer>
#include <QLocalSocket>

#include "core/home_folder.h"
#include "system/admin_protocol.h"

namespace kelvane {
namespace {

constexpr int kWaitMs = 2000;
// What a handover starts with, so that a connection that only asks whether
// anyone listens (and sends nothing) is not taken for one without folders.
constexpr char kOpen[] = "open";

}  // namespace

QString SingleInstance::defaultName() {
    // The home folder is part of the name: a Kelvane started over another
    // home (a test, a demo home) is another application state.
    const QByteArray home = QByteArray::fromStdString(HomeFolder::find());
    const QByteArray hash =
        QCryptographicHash::hash(home, QCryptographicHash::Sha1).toHex().left(12);
    return QStringLiteral("io.kelvane.Kelvane-%1-%2")
        .arg(::getuid())
        .arg(QString::fromLatin1(hash));
}

bool SingleInstance::handOver(const QString& name, const std::vector<std::string>& folders) {
    QLocalSocket socket;
    socket.connectToServer(name);
    if (!socket.waitForConnected(kWaitMs)) return false;
    // The request's own framing: every path followed by a NUL byte.
    QByteArray message(kOpen, sizeof kOpen);  // the word and its NUL
    message += QByteArray::fromStdString(AdminProtocol::encodeRequest(folders));
    if (socket.write(message) != message.size()) return false;
    socket.disconnectFromServer();
    if (socket.state() != QLocalSocket::UnconnectedState) socket.waitForDisconnected(kWaitMs);
    return true;
}

SingleInstance::SingleInstance(QString name, Received received, QObject* parent)
    : QObject(parent),
      name_(std::move(name)),
      received_(std::move(received)),
      server_(new QLocalServer(this)) {
    // Only this user may hand us anything.
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    connect(server_, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = server_->nextPendingConnection()) {
            auto buffer = std::make_shared<QByteArray>();
            connect(socket, &QLocalSocket::readyRead, socket,
                    [socket, buffer] { buffer->append(socket->readAll()); });
            connect(socket, &QLocalSocket::disconnected, this, [this, socket, buffer] {
                buffer->append(socket->readAll());
                const QByteArray open(kOpen, sizeof kOpen);
                if (buffer->startsWith(open)) {
                    received_(AdminProtocol::decodeRequest(buffer->mid(open.size()).toStdString()));
                }
                socket->deleteLater();
            });
        }
    });
}

bool SingleInstance::listen() {
    // Ask first: Qt puts a socket of the user's own in place by renaming
    // it, which would silently take over from a Kelvane already running.
    // A socket left by one that ended without closing it answers no one,
    // and is replaced.
    QLocalSocket probe;
    probe.connectToServer(name_);
    if (probe.waitForConnected(kWaitMs)) return false;
    QLocalServer::removeServer(name_);
    return server_->listen(name_);
}

}  // namespace kelvane
