#include "ui/overview/log_card.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>

#include "core/fmt.h"
#include "ui/app/model_bridge.h"
#include "ui/components/display_text.h"
#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"

namespace kelvane {

namespace {
constexpr std::size_t kShown = 15;
}  // namespace

LogCard::LogCard(ModelBridge& bridge, QWidget* parent)
    : Card(QStringLiteral("履歴"), "clock", parent), bridge_(bridge) {
    placeholder_ =
        StyledLabel::secondary(QStringLiteral("まだ操作はありません"), Typography::body(), this);
    content()->addWidget(placeholder_);
    lines_ = new QWidget(this);
    auto* lines = new QVBoxLayout(lines_);
    lines->setContentsMargins(0, 0, 0, 0);
    lines->setSpacing(4);
    content()->addWidget(lines_);
    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::log) refresh();
    });
    refresh();
}

void LogCard::refresh() {
    const std::vector<LogEntry>& log = bridge_.model().log();
    placeholder_->setVisible(log.empty());
    lines_->setVisible(!log.empty());
    // At most fifteen short lines: rebuilding them is cheaper than diffing.
    for (QObject* child : lines_->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        delete child;
    }
    messages_.clear();
    const std::size_t shown = std::min(log.size(), kShown);
    for (std::size_t i = 0; i < shown; ++i) {
        const LogEntry& entry = log[log.size() - 1 - i];
        auto* line = new QWidget(lines_);
        auto* row = new QHBoxLayout(line);
        row->setContentsMargins(0, 0, 0, 0);
        row->setSpacing(0);
        auto* date = StyledLabel::secondary(QString::fromStdString(Fmt::date(entry.date)),
                                            Typography::caption(), line);
        date->setFixedWidth(130);
        row->addWidget(date, 0, Qt::AlignTop);
        auto* message = StyledLabel::make(
            DisplayText::sentence(entry.message), Typography::caption(),
            entry.isError ? PaletteRoles::red() : PaletteRoles::primaryText(), line);
        message->setWordWrap(true);
        message->setTextInteractionFlags(Qt::TextSelectableByMouse);
        // Red says "error" only to the eye.
        if (entry.isError) message->setAccessibleDescription(QStringLiteral("エラー"));
        row->addWidget(message, 1, Qt::AlignTop);
        lines_->layout()->addWidget(line);
        messages_.append(message);
    }
}

}  // namespace kelvane
