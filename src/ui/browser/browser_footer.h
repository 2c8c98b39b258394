#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

namespace kelvane {

class ModelBridge;
class Spinner;

// The bar under the browser list: how many items there are (or that they are
// still loading), what the selection adds up to, and the two ways to delete
// the selection.
class BrowserFooter : public QWidget {
    Q_OBJECT
  public:
    explicit BrowserFooter(ModelBridge& bridge, QWidget* parent = nullptr);

    QLabel* countLabel() const { return count_; }
    QLabel* selectionLabel() const { return selection_; }
    QPushButton* trashButton() const { return trash_; }
    QPushButton* deleteButton() const { return delete_; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void refreshCount();
    void refreshSelection();

    ModelBridge& bridge_;
    Spinner* spinner_;
    QLabel* count_;
    QLabel* selection_;
    QPushButton* trash_;
    QPushButton* delete_;
};

}  // namespace kelvane
