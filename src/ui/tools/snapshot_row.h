#pragma once

#include <QWidget>
#include <string>

namespace kelvane {

// One local snapshot: its date text and a "削除" button.
class SnapshotRow : public QWidget {
    Q_OBJECT
  public:
    explicit SnapshotRow(std::string date, QWidget* parent = nullptr);

  signals:
    void deleteRequested(const std::string& date);

  private:
    std::string date_;
};

}  // namespace kelvane
