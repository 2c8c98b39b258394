#include "ui/tools/snapshot_row.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "core/fmt.h"
#include "ui/components/display_text.h"
#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {
namespace {

// Who made the snapshot, and which one it is for that tool.
QString maker(const LocalSnapshot& s) {
    switch (s.maker) {
        case LocalSnapshot::Maker::snapper:
            return QStringLiteral("Snapper (設定 %1, 番号 %2)")
                .arg(DisplayText::fromBytes(s.config), DisplayText::fromBytes(s.number));
        case LocalSnapshot::Maker::timeshift:
            return QStringLiteral("Timeshift");
        case LocalSnapshot::Maker::btrfs:
            return QStringLiteral("Btrfs スナップショット");
    }
    return {};
}

QString sizeText(const LocalSnapshot& s) {
    if (s.exclusiveBytes) return DisplayText::fromBytes(Fmt::bytes(*s.exclusiveBytes));
    // Only Btrfs quota groups know what a snapshot alone holds.
    return s.maker == LocalSnapshot::Maker::timeshift && s.path.empty()
               ? QStringLiteral("サイズ不明 (Btrfs 以外のボリュームでは分かりません)")
               : QStringLiteral("サイズ不明 (Btrfs のクォータが無効です)");
}

}  // namespace

SnapshotRow::SnapshotRow(LocalSnapshot snapshot, QWidget* parent)
    : QWidget(parent), snapshot_(std::move(snapshot)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 4, 0, 4);
    auto* icon = new QLabel(this);
    icon->setPixmap(SymbolIcons::icon("clock.arrow.2.circlepath").pixmap(16, 16));
    row->addWidget(icon, 0, Qt::AlignTop);
    auto* text = new QVBoxLayout;
    text->setSpacing(2);
    const QString date = DisplayText::fromBytes(snapshot_.date);
    text->addWidget(StyledLabel::make(date,
                                      Typography::withWeight(Typography::body(), QFont::Medium),
                                      PaletteRoles::primaryText(), this));
    QString subtitle = maker(snapshot_);
    if (!snapshot_.path.empty())
        subtitle += QStringLiteral("  ·  ") + DisplayText::fromBytes(snapshot_.path);
    if (!snapshot_.description.empty()) {
        subtitle += QStringLiteral("  ·  ") + DisplayText::fromBytes(snapshot_.description);
    }
    auto* details = StyledLabel::secondary(subtitle, Typography::caption(), this);
    details->setWordWrap(true);
    text->addWidget(details);
    row->addLayout(text, 1);
    auto* bytes = StyledLabel::secondary(sizeText(snapshot_), Typography::caption(), this);
    bytes->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    row->addWidget(bytes);
    auto* remove = new QPushButton(QStringLiteral("削除"), this);
    remove->setAccessibleDescription(date + QStringLiteral(" ") + subtitle);
    connect(remove, &QPushButton::clicked, this, [this] { emit deleteRequested(snapshot_); });
    row->addWidget(remove);
}

}  // namespace kelvane
