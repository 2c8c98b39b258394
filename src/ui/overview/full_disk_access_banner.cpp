#include "ui/overview/full_disk_access_banner.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/app/model_bridge.h"
#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {

FullDiskAccessBanner::FullDiskAccessBanner(ModelBridge& bridge, QWidget* parent)
    : QFrame(parent), bridge_(bridge) {
    const QString title = QStringLiteral("フルディスクアクセスが許可されていません");
    setAccessibleName(title);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(12, 12, 12, 12);
    auto* icon = new QLabel(this);
    icon->setPixmap(
        SymbolIcons::tinted("exclamationmark.triangle.fill", PaletteRoles::orange(), 20));
    icon->setAccessibleName(QStringLiteral("警告"));
    row->addWidget(icon, 0, Qt::AlignTop);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(
        StyledLabel::make(title, Typography::headline(), PaletteRoles::primaryText(), this));
    auto* explanation = StyledLabel::secondary(
        QStringLiteral(
            "メール・メッセージ・Safari "
            "等の保護されたフォルダは読み取れず、サイズが実際より小さく表示されます。"
            "「システム設定 > プライバシーとセキュリティ > フルディスクアクセス」で Kelvane "
            "を許可し、アプリを再起動してください。"),
        Typography::caption(), this);
    explanation->setWordWrap(true);
    texts->addWidget(explanation);
    row->addLayout(texts, 1);

    auto* open = new QPushButton(QStringLiteral("設定を開く"), this);
    connect(open, &QPushButton::clicked, this,
            [this] { bridge_.model().openFullDiskAccessSettings(); });
    auto* recheck = new QPushButton(QStringLiteral("再確認"), this);
    connect(recheck, &QPushButton::clicked, this,
            [this] { bridge_.model().checkFullDiskAccess(); });
    row->addWidget(open, 0, Qt::AlignVCenter);
    row->addWidget(recheck, 0, Qt::AlignVCenter);
}

void FullDiskAccessBanner::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(PaletteRoles::withOpacity(PaletteRoles::orange(), 0.1));
    painter.drawRoundedRect(QRectF(rect()), 10, 10);
}

}  // namespace kelvane
