#include "ui/app/content_view.h"

#include <QHBoxLayout>
#include <QMessageBox>
#include <QPushButton>
#include <QSplitter>
#include <QTimer>

#include "ui/app/alert_box.h"
#include "ui/app/busy_overlay.h"
#include "ui/app/detail_router.h"
#include "ui/app/model_bridge.h"
#include "ui/components/display_text.h"
#include "ui/sidebar/sidebar_view.h"

namespace kelvane {

ContentView::ContentView(ModelBridge& bridge, QWidget* parent) : QWidget(parent), bridge_(bridge) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    splitter_ = new QSplitter(Qt::Horizontal, this);
    sidebar_ = new SidebarView(bridge_, splitter_);
    sidebar_->setMinimumWidth(250);
    sidebar_->setMaximumWidth(360);
    router_ = new DetailRouter(bridge_, splitter_);
    splitter_->addWidget(sidebar_);
    splitter_->addWidget(router_);
    splitter_->setCollapsible(0, false);
    splitter_->setCollapsible(1, false);
    splitter_->setStretchFactor(0, 0);
    splitter_->setStretchFactor(1, 1);
    // Wide enough for the longest built-in names ("スナップショット (Snapper /
    // Timeshift)", "パッケージマネージャのキャッシュ") beside their sizes.
    splitter_->setSizes({320, 700});
    layout->addWidget(splitter_);

    overlay_ = new BusyOverlay(this);
    overlay_->onStop([this] { bridge_.model().stopBusyWork(); });
    connect(&bridge_, &ModelBridge::changed, this,
            [this](const ModelChange& change) { onChange(static_cast<int>(change.field)); });
}

void ContentView::onChange(int field) {
    switch (static_cast<ModelField>(field)) {
        case ModelField::selectedID:
            bridge_.model().didChangeSelection();
            break;
        case ModelField::busyMessage:
            if (const auto& message = bridge_.model().busyMessage()) {
                overlay_->showMessage(DisplayText::fromBytes(*message));
            } else {
                overlay_->hide();
            }
            break;
        case ModelField::busyProgress:
            if (const auto& progress = bridge_.model().busyProgress()) {
                overlay_->showProgress(DisplayText::fromBytes(progress->text), progress->fraction,
                                       progress->stopping, progress->stoppable);
            } else {
                overlay_->showProgress(std::nullopt, std::nullopt, false);
            }
            break;
        case ModelField::pendingAction:
        case ModelField::notice:
            // Never open a modal dialog from inside a model notification: the
            // change may be part of a larger step that is still running.
            if (!dialogScheduled_) {
                dialogScheduled_ = true;
                QTimer::singleShot(0, this, [this] {
                    dialogScheduled_ = false;
                    showNextDialog();
                });
            }
            break;
        default:
            break;
    }
}

void ContentView::showNextDialog() {
    if (dialog_) return;
    const AppModel& model = bridge_.model();
    if (model.pendingAction()) {
        showConfirmation();
    } else if (model.notice()) {
        showNotice();
    }
}

void ContentView::showConfirmation() {
    const PendingAction& action = *bridge_.model().pendingAction();
    shownAction_ = action.id;
    QMessageBox* box =
        AlertBox::create(window(), QMessageBox::Warning, action.title, action.message);
    QPushButton* destructive = box->addButton(DisplayText::fromBytes(action.destructiveLabel),
                                              QMessageBox::DestructiveRole);
    QPushButton* cancel = box->addButton(QStringLiteral("キャンセル"), QMessageBox::RejectRole);
    // Return and Escape both land on "キャンセル": deleting is never one keystroke away.
    box->setDefaultButton(cancel);
    box->setEscapeButton(cancel);
    destructive->setAutoDefault(false);
    cancel->setFocus();
    dialog_ = box;
    connect(box, &QMessageBox::finished, this, [this, box, destructive] {
        const bool confirmed = box->clickedButton() == destructive;
        AppModel& model = bridge_.model();
        const auto& pending = model.pendingAction();
        if (pending && shownAction_ && pending->id == *shownAction_) {
            const PendingAction action = *pending;
            if (confirmed) action.perform();
            // perform may already have asked for a new confirmation; keep that one.
            if (model.pendingAction() && model.pendingAction()->id == action.id) {
                model.setPendingAction(std::nullopt);
            }
        }
        shownAction_.reset();
        dialog_ = nullptr;
        QTimer::singleShot(0, this, [this] { showNextDialog(); });
    });
    box->open();
}

void ContentView::showNotice() {
    const std::string& notice = *bridge_.model().notice();
    QMessageBox* box = AlertBox::create(window(), AlertBox::noticeIcon(notice), "Kelvane", notice);
    box->addButton(QStringLiteral("OK"), QMessageBox::AcceptRole);
    dialog_ = box;
    connect(box, &QMessageBox::finished, this, [this] {
        bridge_.model().setNotice(std::nullopt);
        dialog_ = nullptr;
        QTimer::singleShot(0, this, [this] { showNextDialog(); });
    });
    box->open();
}

}  // namespace kelvane
