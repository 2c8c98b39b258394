#include "ui/overview/quick_clean_card.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "core/fmt.h"
#include "ui/app/model_bridge.h"
#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"
#include "ui/overview/quick_clean_row.h"

namespace kelvane {

namespace {

std::vector<CleanCategory> quickCategories(const AppModel& model) {
    std::vector<CleanCategory> result;
    for (const CleanCategory& category : model.categories()) {
        if (category.quickClean) result.push_back(category);
    }
    return result;
}

}  // namespace

QuickCleanCard::QuickCleanCard(ModelBridge& bridge, QWidget* parent)
    : Card(QStringLiteral("クイッククリーン"), "sparkles", parent), bridge_(bridge) {
    auto* intro = StyledLabel::secondary(
        QStringLiteral("削除しても自動的に再生成される安全なものだけを選んでまとめて削除します。"),
        Typography::caption(), this);
    intro->setWordWrap(true);
    content()->addWidget(intro);

    rowsBox_ = new QWidget(this);
    auto* rows = new QVBoxLayout(rowsBox_);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(4);
    content()->addWidget(rowsBox_);

    auto* footer = new QHBoxLayout;
    totalLabel_ = new QLabel(this);
    totalLabel_->setTextFormat(Qt::RichText);
    footer->addWidget(totalLabel_);
    footer->addStretch(1);
    delete_ = new QPushButton(SymbolIcons::icon("trash"), QStringLiteral("完全に削除"), this);
    // The one prominent, red button of the overview: it deletes for good.
    const QColor red = PaletteRoles::red();
    delete_->setStyleSheet(
        QStringLiteral("QPushButton { background: %1; color: white; border: none;"
                       " border-radius: 6px; padding: 5px 14px; font-weight: 600; }"
                       "QPushButton:disabled { background: %2; color: %3; }")
            .arg(StyledLabel::css(red), StyledLabel::css(PaletteRoles::withOpacity(red, 0.35)),
                 StyledLabel::css(QColor(255, 255, 255, 200))));
    connect(delete_, &QPushButton::clicked, this, [this] {
        bridge_.model().confirmQuickClean({selection_.begin(), selection_.end()});
    });
    footer->addWidget(delete_);
    content()->addLayout(footer);

    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::categories) {
            rebuildRows();
        } else if (change.field == ModelField::states) {
            if (change.key) {
                refreshRow(*change.key);
            } else {
                for (QuickCleanRow* row : rows_) refreshRow(row->id());
            }
            refreshTotal();
        }
    });
    rebuildRows();
}

void QuickCleanCard::tickAllIfEmpty() {
    if (!selection_.empty()) return;
    for (const CleanCategory& category : quickCategories(bridge_.model())) {
        selection_.insert(category.id);
    }
    for (QuickCleanRow* row : rows_) refreshRow(row->id());
    refreshTotal();
}

std::int64_t QuickCleanCard::total() const {
    const AppModel& model = bridge_.model();
    std::int64_t sum = 0;
    for (const CleanCategory& category : quickCategories(model)) {
        if (selection_.contains(category.id)) sum += model.state(category.id).bytes;
    }
    return sum;
}

void QuickCleanCard::rebuildRows() {
    qDeleteAll(rows_);
    rows_.clear();
    for (const CleanCategory& category : quickCategories(bridge_.model())) {
        auto* row = new QuickCleanRow(category, rowsBox_);
        connect(row, &QuickCleanRow::toggled, this, [this](const std::string& id, bool on) {
            if (on) {
                selection_.insert(id);
            } else {
                selection_.erase(id);
            }
            refreshTotal();
        });
        rowsBox_->layout()->addWidget(row);
        rows_.append(row);
        refreshRow(category.id);
    }
    refreshTotal();
}

void QuickCleanCard::refreshRow(const std::string& id) {
    for (QuickCleanRow* row : rows_) {
        if (row->id() == id) {
            row->setState(bridge_.model().state(id), selection_.contains(id));
            return;
        }
    }
}

void QuickCleanCard::refreshTotal() {
    const std::int64_t sum = total();
    const QString bytes = QString::fromStdString(Fmt::bytes(sum));
    totalLabel_->setText(
        QStringLiteral("<span style=\"color:%1\">選択合計: </span><b>%2</b>")
            .arg(StyledLabel::css(PaletteRoles::secondaryText()), bytes.toHtmlEscaped()));
    totalLabel_->setAccessibleName(QStringLiteral("選択合計: ") + bytes);
    delete_->setEnabled(sum != 0);
}

}  // namespace kelvane
