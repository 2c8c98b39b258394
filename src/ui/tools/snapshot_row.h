#pragma once

#include <QWidget>

#include "core/local_snapshot.h"

namespace kelvane {

// One local snapshot: its date, who made it and where, its description, its
// size or why the size is not known, and a "削除" button.
class SnapshotRow : public QWidget {
    Q_OBJECT
  public:
    explicit SnapshotRow(LocalSnapshot snapshot, QWidget* parent = nullptr);

  signals:
    void deleteRequested(const LocalSnapshot& snapshot);

  private:
    LocalSnapshot snapshot_;
};

}  // namespace kelvane
