#include "ui/sidebar/sidebar_footer.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "core/fmt.h"
#include "ui/app/model_bridge.h"
#include "ui/components/palette_roles.h"
#include "ui/components/spinner.h"

namespace kelvane {

SidebarFooter::SidebarFooter(ModelBridge& bridge, QWidget* parent)
    : QWidget(parent), bridge_(bridge) {
    setAutoFillBackground(true);
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->setSpacing(4);
    auto* divider = new QFrame(this);
    divider->setFrameShape(QFrame::HLine);
    divider->setFrameShadow(QFrame::Plain);
    divider->setStyleSheet(QStringLiteral("color: palette(mid);"));
    outer->addWidget(divider);

    auto* row = new QHBoxLayout;
    row->setContentsMargins(12, 8, 12, 8);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    auto* caption = new QLabel(QStringLiteral("安全に削除できる目安"), this);
    caption->setFont(Typography::caption());
    QPalette secondary = caption->palette();
    secondary.setColor(QPalette::WindowText, PaletteRoles::secondaryText());
    caption->setPalette(secondary);
    total_ = new QLabel(this);
    total_->setFont(Typography::withWeight(Typography::title3(), QFont::DemiBold));
    texts->addWidget(caption);
    texts->addWidget(total_);
    row->addLayout(texts);
    row->addStretch(1);
    spinner_ = new Spinner(12, this);
    running_ = new QLabel(this);
    running_->setFont(Typography::caption());
    running_->setPalette(secondary);
    row->addWidget(spinner_);
    row->addSpacing(4);
    row->addWidget(running_);
    outer->addLayout(row);

    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::states || change.field == ModelField::categories) refresh();
    });
    refresh();
}

QString SidebarFooter::totalText() const {
    return total_->text();
}

QString SidebarFooter::runningText() const {
    return running_->isVisibleTo(this) ? running_->text() : QString();
}

void SidebarFooter::refresh() {
    const AppModel& model = bridge_.model();
    std::int64_t total = 0;
    for (const CleanCategory& c : model.categories()) {
        if (c.quickClean) total += model.state(c.id).bytes;
    }
    int running = 0;
    for (const auto& [id, s] : model.states()) {
        if (s.status == CategoryState::Status::scanning) ++running;
    }
    total_->setText(QString::fromStdString(Fmt::bytes(total)));
    total_->setAccessibleName(QStringLiteral("安全に削除できる目安 ") + total_->text());
    running_->setText(QString::number(running) + QStringLiteral(" 件スキャン中"));
    running_->setAccessibleName(running_->text());
    spinner_->setVisible(running > 0);
    running_->setVisible(running > 0);
}

}  // namespace kelvane
