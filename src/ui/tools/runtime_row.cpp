#include "ui/tools/runtime_row.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
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

RuntimeRow::RuntimeRow(SimRuntime runtime, double fraction, QWidget* parent)
    : QWidget(parent), runtime_(std::move(runtime)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 2, 0, 2);
    row->setSpacing(8);

    auto* icon = new QLabel(this);
    icon->setPixmap(SymbolIcons::icon(platformSymbol(runtime_.platform)).pixmap(18, 18));
    icon->setFixedWidth(20);
    icon->setAlignment(Qt::AlignCenter);
    icon->setObjectName(QString::fromStdString(platformSymbol(runtime_.platform)));
    row->addWidget(icon);

    const QString title = QString::fromStdString(runtime_.platform + " " + runtime_.version);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(StyledLabel::make(title,
                                       Typography::withWeight(Typography::body(), QFont::Medium),
                                       PaletteRoles::primaryText(), this));
    texts->addWidget(StyledLabel::secondary(subtitle(runtime_), Typography::caption(), this));
    row->addLayout(texts);
    row->addStretch(1);

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
    delete_->setAccessibleDescription(title);
    connect(delete_, &QPushButton::clicked, this, [this] { emit deleteRequested(runtime_); });
    row->addWidget(delete_);
}

std::string RuntimeRow::platformSymbol(const std::string& platform) {
    std::string lower = platform;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (lower == "ios") return "iphone";
    if (lower == "watchos") return "applewatch";
    if (lower == "tvos") return "appletv";
    if (lower == "xros" || lower == "visionos") return "visionpro";
    return "square.stack.3d.down.right";
}

QString RuntimeRow::subtitle(const SimRuntime& runtime) {
    QString text = QString::fromStdString(runtime.build + "  ·  " + runtime.state);
    if (runtime.lastUsed) {
        // The first ten characters are the day; a shorter text is shown whole.
        // Counted in characters, not bytes, so a cut never splits one.
        const QString lastUsed = QString::fromStdString(*runtime.lastUsed);
        text += QStringLiteral("  ·  最終使用 ") + lastUsed.left(10);
    }
    return text;
}

}  // namespace kelvane
