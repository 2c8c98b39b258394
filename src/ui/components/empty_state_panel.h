#pragma once

#include <QWidget>
#include <string>

class QLabel;

namespace kelvane {

// A centred message in place of an empty list: a large faint symbol, a title
// and a one-line description.
class EmptyStatePanel : public QWidget {
    Q_OBJECT
  public:
    explicit EmptyStatePanel(QWidget* parent = nullptr);

    void setContent(const std::string& symbol, const QString& title, const QString& description);
    QString title() const;
    QString description() const;

  private:
    QLabel* symbol_;
    QLabel* title_;
    QLabel* description_;
};

}  // namespace kelvane
