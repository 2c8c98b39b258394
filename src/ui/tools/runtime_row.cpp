#include "ui/tools/runtime_row.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStringList>
#include <QVBoxLayout>
#include <algorithm>
#include <cctype>
#include <cmath>

#include "core/fmt.h"
#include "ui/components/palette_roles.h"
#include "ui/components/size_bar.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {
namespace {

QString appList(const SimRuntime& runtime) {
    QStringList apps;
    for (const std::string& app : runtime.usedBy) apps << QString::fromStdString(app);
    return apps.join(QStringLiteral(", "));
}

}  // namespace

RuntimeRow::RuntimeRow(SimRuntime runtime, double fraction, QWidget* parent)
    : QWidget(parent), runtime_(std::move(runtime)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 2, 0, 2);
    row->setSpacing(8);

    const QString symbol = QString::fromStdString(platformSymbol(runtime_.platform));
    auto* icon = new QLabel(this);
    icon->setPixmap(SymbolIcons::icon(symbol.toStdString()).pixmap(18, 18));
    icon->setFixedWidth(20);
    icon->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    icon->setObjectName(symbol);
    row->addWidget(icon, 0, Qt::AlignTop);

    const QString title = QString::fromStdString(runtime_.name);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(StyledLabel::make(title,
                                       Typography::withWeight(Typography::body(), QFont::Medium),
                                       PaletteRoles::primaryText(), this));
    texts->addWidget(StyledLabel::secondary(subtitle(runtime_), Typography::caption(), this));
    // Who needs it is what decides whether it may go, so it is always shown:
    // an unused runtime in the accent colour, the apps in the secondary one.
    usage_ = runtime_.usedBy.empty() && runtime_.deletable
                 ? StyledLabel::make(usage(runtime_), Typography::caption(), PaletteRoles::accent(),
                                     this)
                 : StyledLabel::secondary(usage(runtime_), Typography::caption(), this);
    usage_->setWordWrap(true);
    texts->addWidget(usage_);
    // The texts take the room the fixed columns leave; long app lists wrap.
    row->addLayout(texts, 1);

    auto* bar = new SizeBar(fraction, PaletteRoles::accent(), this);
    bar->setFixedWidth(90);
    bar->setAccessibleName(QStringLiteral("%1%").arg(std::lround(std::min(fraction, 1.0) * 100)));
    row->addWidget(bar);
    auto* size = StyledLabel::make(QString::fromStdString(Fmt::bytes(runtime_.sizeBytes)),
                                   Typography::body(), PaletteRoles::primaryText(), this);
    size->setFixedWidth(84);
    size->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    row->addWidget(size);

    delete_ = new QPushButton(QStringLiteral("削除"), this);
    delete_->setEnabled(runtime_.deletable);
    if (runtime_.deletable) {
        delete_->setAccessibleDescription(title);
    } else {
        const QString reason =
            runtime_.usedBy.empty()
                ? QStringLiteral("アプリが使用しているため削除できません")
                : appList(runtime_) + QStringLiteral(" が使用しているため削除できません");
        delete_->setToolTip(reason);
        delete_->setAccessibleDescription(title + QStringLiteral(": ") + reason);
    }
    connect(delete_, &QPushButton::clicked, this, [this] { emit deleteRequested(runtime_); });
    row->addWidget(delete_);
}

std::string RuntimeRow::platformSymbol(const std::string& platform) {
    std::string lower = platform;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (lower == "flatpak") return "shippingbox";
    if (lower == "snap") return "square.stack.fill";
    return "square.stack.3d.down.right";
}

QString RuntimeRow::subtitle(const SimRuntime& runtime) {
    const QString dot = QStringLiteral("  ·  ");
    const QString platform = QString::fromStdString(runtime.platform);
    if (runtime.installation.empty()) {
        // A Snap revision: the package's current one stays; this one only
        // serves `snap revert`.
        return platform + dot + QStringLiteral("無効化された古いリビジョン (snap revert 用)");
    }
    const QString where = runtime.installation == "user" ? QStringLiteral("ユーザー")
                          : runtime.installation == "system"
                              ? QStringLiteral("システム")
                              : QString::fromStdString(runtime.installation);
    return platform + QStringLiteral(" (") + where + QStringLiteral(")") + dot +
           QString::fromStdString(runtime.build);
}

QString RuntimeRow::usage(const SimRuntime& runtime) {
    if (!runtime.usedBy.empty()) return QStringLiteral("使用中のアプリ: ") + appList(runtime);
    if (runtime.installation.empty()) return QStringLiteral("現在のリビジョンは残ります");
    return QStringLiteral("使用しているアプリはありません");
}

}  // namespace kelvane
