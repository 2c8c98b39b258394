#include "ui/browser/breadcrumb_bar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>
#include <QToolButton>

#include "ui/app/model_bridge.h"
#include "ui/browser/browser_navigation.h"
#include "ui/components/display_text.h"
#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {

BreadcrumbBar::BreadcrumbBar(ModelBridge& bridge, QWidget* parent)
    : QWidget(parent), bridge_(bridge) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(12, 6, 12, 6);
    layout->setSpacing(4);

    back_ = new QToolButton(this);
    back_->setIcon(SymbolIcons::icon("chevron.left"));
    back_->setAutoRaise(true);
    back_->setToolTip(QStringLiteral("上の階層へ"));
    back_->setAccessibleName(QStringLiteral("上の階層へ"));
    connect(back_, &QToolButton::clicked, this, [this] { bridge_.model().goUp(); });
    layout->addWidget(back_);

    scroll_ = new QScrollArea(this);
    scroll_->setFrameShape(QFrame::NoFrame);
    scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll_->setWidgetResizable(true);
    scroll_->viewport()->setAutoFillBackground(false);
    trail_ = new QWidget(scroll_);
    trail_->setAutoFillBackground(false);
    trailLayout_ = new QHBoxLayout(trail_);
    trailLayout_->setContentsMargins(0, 0, 0, 0);
    trailLayout_->setSpacing(2);
    scroll_->setWidget(trail_);
    layout->addWidget(scroll_, 1);
    // The trail is one row of buttons; the scroll area would otherwise ask
    // for the height of a whole list.
    scroll_->setFixedHeight(back_->sizeHint().height());
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);

    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        // The trail depends on the path and on the category's roots.
        if (change.field == ModelField::browserPath || change.field == ModelField::states ||
            change.field == ModelField::selectedID)
            rebuild();
    });
    rebuild();
}

void BreadcrumbBar::rebuild() {
    AppModel& model = bridge_.model();
    back_->setEnabled(model.canGoUp());

    std::vector<Crumb> crumbs = model.crumbs();
    if (built_ && crumbs == shown_) return;
    built_ = true;
    shown_ = crumbs;

    // A crumb may be rebuilding the trail from its own click handler, so the
    // old widgets go away later, not under its feet.
    while (QLayoutItem* item = trailLayout_->takeAt(0)) {
        if (QWidget* widget = item->widget()) {
            widget->hide();
            widget->deleteLater();
        }
        delete item;
    }
    buttons_.clear();
    for (std::size_t i = 0; i < crumbs.size(); ++i) {
        if (i > 0) {
            auto* chevron = new QLabel(trail_);
            chevron->setPixmap(SymbolIcons::tinted("chevron.right", PaletteRoles::tertiaryText(),
                                                   QFontMetrics(Typography::caption2()).height()));
            trailLayout_->addWidget(chevron);
        }
        const bool last = i + 1 == crumbs.size();
        auto* button = new QToolButton(trail_);
        const QString label = DisplayText::fromBytes(crumbs[i].label);
        button->setText(label);
        button->setAccessibleName(label);
        button->setAutoRaise(true);
        button->setToolButtonStyle(Qt::ToolButtonTextOnly);
        button->setFont(
            Typography::withWeight(Typography::body(), last ? QFont::DemiBold : QFont::Normal));
        QPalette palette = button->palette();
        palette.setColor(QPalette::ButtonText,
                         last ? PaletteRoles::primaryText() : PaletteRoles::secondaryText());
        button->setPalette(palette);
        connect(button, &QToolButton::clicked, this,
                [this, path = crumbs[i].path] { BrowserNavigation::open(bridge_.model(), path); });
        trailLayout_->addWidget(button);
        buttons_.append(button);
    }
    trailLayout_->addStretch(1);
    // Deep trails scroll; the current folder is what matters, so show the end.
    QTimer::singleShot(0, this, [this] {
        scroll_->horizontalScrollBar()->setValue(scroll_->horizontalScrollBar()->maximum());
    });
}

}  // namespace kelvane
