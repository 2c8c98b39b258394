#pragma once

#include <QList>

#include "ui/components/card.h"

class QLabel;

namespace kelvane {

class ModelBridge;

// "履歴": the newest activity-log lines, newest first, errors in red.
class LogCard : public Card {
    Q_OBJECT
  public:
    explicit LogCard(ModelBridge& bridge, QWidget* parent = nullptr);

    // The message labels, top to bottom.
    const QList<QLabel*>& messages() const { return messages_; }
    QLabel* placeholder() const { return placeholder_; }

  private:
    void refresh();

    ModelBridge& bridge_;
    QLabel* placeholder_;
    QWidget* lines_;
    QList<QLabel*> messages_;
};

}  // namespace kelvane
