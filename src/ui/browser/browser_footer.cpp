#include "ui/browser/browser_footer.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>

#include "core/fmt.h"
#include "ui/app/model_bridge.h"
#include "ui/browser/browser_navigation.h"
#include "ui/components/palette_roles.h"
#include "ui/components/spinner.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {

BrowserFooter::BrowserFooter(ModelBridge& bridge, QWidget* parent)
    : QWidget(parent), bridge_(bridge) {
    setFont(Typography::callout());
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(12, 8, 12, 8);
    layout->setSpacing(12);

    spinner_ = new Spinner(12, this);
    layout->addWidget(spinner_);
    count_ = StyledLabel::secondary({}, Typography::callout(), this);
    layout->addWidget(count_);
    selection_ = StyledLabel::make({}, Typography::callout(), PaletteRoles::primaryText(), this);
    layout->addWidget(selection_);
    layout->addStretch(1);

    trash_ = new QPushButton(SymbolIcons::icon("trash"), QStringLiteral("ゴミ箱へ入れる"), this);
    trash_->setAccessibleName(QStringLiteral("ゴミ箱へ入れる"));
    connect(trash_, &QPushButton::clicked, this, [this] {
        bridge_.model().confirmDelete(BrowserNavigation::selection(bridge_.model()), false);
    });
    layout->addWidget(trash_);

    delete_ = new QPushButton(SymbolIcons::icon("xmark.bin"), QStringLiteral("完全に削除"), this);
    delete_->setAccessibleName(QStringLiteral("完全に削除"));
    PaletteRoles::markDestructive(delete_);
    connect(delete_, &QPushButton::clicked, this, [this] {
        bridge_.model().confirmDelete(BrowserNavigation::selection(bridge_.model()), true);
    });
    layout->addWidget(delete_);

    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        switch (change.field) {
            case ModelField::entriesLoading:
                refreshCount();
                break;
            case ModelField::entries: {
                refreshCount();
                // One size arriving only matters when that entry is selected.
                const AppModel& model = bridge_.model();
                if (change.row && *change.row < model.entries().size() &&
                    model.entrySelection().count(model.entries()[*change.row].path) == 0)
                    break;
                refreshSelection();
                break;
            }
            case ModelField::entrySelection:
                refreshSelection();
                break;
            default:
                break;
        }
    });
    refreshCount();
    refreshSelection();
}

void BrowserFooter::refreshCount() {
    const AppModel& model = bridge_.model();
    const bool loading = model.entriesLoading();
    spinner_->setVisible(loading);
    StyledLabel::setText(
        count_, loading ? QStringLiteral("読み込み中…")
                        : QString::number(model.entries().size()) + QStringLiteral(" 項目"));
}

void BrowserFooter::refreshSelection() {
    const AppModel& model = bridge_.model();
    const std::size_t selected = model.entrySelection().size();
    selection_->setVisible(selected != 0);
    if (selected != 0) {
        StyledLabel::setText(selection_,
                             QStringLiteral("選択: ") + QString::number(selected) +
                                 QStringLiteral(" 項目 / ") +
                                 QString::fromStdString(Fmt::bytes(model.selectedBytes())));
    }
    // An opened scan lists files that may not be on this disk at all.
    const std::optional<std::string> readOnly =
        model.selectedID() ? model.readOnlyReason(*model.selectedID()) : std::nullopt;
    const QString why = readOnly ? QString::fromStdString(*readOnly) : QString();
    for (QPushButton* button : {trash_, delete_}) {
        button->setEnabled(selected != 0 && !readOnly);
        button->setToolTip(why);
    }
}

void BrowserFooter::paintEvent(QPaintEvent*) {
    // A bar of its own: a shade apart from the list above it.
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Window));
    painter.fillRect(rect(), PaletteRoles::withOpacity(PaletteRoles::primaryText(), 0.03));
}

}  // namespace kelvane
