#pragma once

#include <QObject>
#include <QString>
#include <functional>
#include <string>
#include <vector>

class QLocalServer;

namespace kelvane {

// One Kelvane per user and home folder: a second start hands the folders it
// was given (from the file manager, say) to the window already open and
// ends, so the user never finds two windows measuring the same disk. Paths
// travel as the bytes they are, each followed by a NUL byte.
class SingleInstance : public QObject {
    Q_OBJECT
  public:
    using Received = std::function<void(const std::vector<std::string>&)>;

    // The local socket's name for this user and home folder.
    static QString defaultName();

    // Gives `folders` to the Kelvane listening at `name`; true when one
    // took them (it then shows its window), false when none runs.
    static bool handOver(const QString& name, const std::vector<std::string>& folders);

    SingleInstance(QString name, Received received, QObject* parent = nullptr);

    // Starts listening; false when another instance already does.
    bool listen();

  private:
    QString name_;
    Received received_;
    QLocalServer* server_;
};

}  // namespace kelvane
