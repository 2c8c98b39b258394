#include "ui/overview/disk_card.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "core/fmt.h"
#include "ui/app/model_bridge.h"
#include "ui/components/display_text.h"
#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"
#include "ui/overview/disk_usage_bar.h"

namespace kelvane {

namespace {

const QString kUsed = QStringLiteral("使用中");
const QString kFree = QStringLiteral("空き");
const QString kReserved = QStringLiteral("root 用の予約領域");
const QString kTotal = QStringLiteral("合計");

// One figure: a caption above its value. Returns the value label.
QLabel* addStat(QHBoxLayout* row, const QString& caption, QWidget* parent,
                const QString& name = {}) {
    auto* column = new QVBoxLayout;
    column->setSpacing(2);
    column->addWidget(StyledLabel::secondary(caption, Typography::caption(), parent));
    auto* value = StyledLabel::make({}, Typography::withWeight(Typography::title3(), QFont::Medium),
                                    PaletteRoles::primaryText(), parent);
    value->setObjectName(name.isEmpty() ? caption : name);
    column->addWidget(value);
    row->addLayout(column);
    return value;
}

}  // namespace

DiskCard::DiskCard(ModelBridge& bridge, QWidget* parent)
    : Card(QStringLiteral("起動ディスク"), "internaldrive", parent), bridge_(bridge) {
    unavailable_ = StyledLabel::secondary(QStringLiteral("ディスク情報を取得できません"),
                                          Typography::body(), this);
    content()->addWidget(unavailable_);

    body_ = new QWidget(this);
    auto* stack = new QVBoxLayout(body_);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(8);
    bar_ = new DiskUsageBar(body_);
    stack->addWidget(bar_);
    auto* row = new QHBoxLayout;
    row->setSpacing(24);
    used_ = addStat(row, kUsed, body_);
    free_ = addStat(row, kFree, body_);
    reserved_ = addStat(row, kReserved, body_);
    total_ = addStat(row, kTotal, body_);
    row->addStretch(1);
    auto* refreshButton = new QPushButton(QStringLiteral("更新"), body_);
    refreshButton->setFont(Typography::caption());
    connect(refreshButton, &QPushButton::clicked, this, [this] { bridge_.model().refreshDisk(); });
    row->addWidget(refreshButton, 0, Qt::AlignBottom);
    stack->addLayout(row);

    home_ = new QWidget(body_);
    auto* homeStack = new QVBoxLayout(home_);
    homeStack->setContentsMargins(0, 8, 0, 0);
    homeStack->setSpacing(4);
    homeTitle_ = StyledLabel::make({}, Typography::withWeight(Typography::body(), QFont::DemiBold),
                                   PaletteRoles::primaryText(), home_);
    homeStack->addWidget(homeTitle_);
    const QString prefix = QStringLiteral("ホーム ");
    // Thinner than the startup disk's bar: the home volume is the second line of the card.
    homeBar_ = new DiskUsageBar(home_, 8, prefix);
    homeBar_->setObjectName(prefix + QStringLiteral("使用率"));
    homeStack->addWidget(homeBar_);
    auto* homeRow = new QHBoxLayout;
    homeRow->setSpacing(24);
    homeUsed_ = addStat(homeRow, kUsed, home_, prefix + kUsed);
    homeFree_ = addStat(homeRow, kFree, home_, prefix + kFree);
    homeTotal_ = addStat(homeRow, kTotal, home_, prefix + kTotal);
    homeRow->addStretch(1);
    homeStack->addLayout(homeRow);
    stack->addWidget(home_);
    content()->addWidget(body_);

    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::disk) refresh();
    });
    refresh();
}

void DiskCard::refresh() {
    const std::optional<DiskInfo>& disk = bridge_.model().disk();
    unavailable_->setVisible(!disk);
    body_->setVisible(disk.has_value());
    if (!disk) return;
    // Used as df counts it: what files hold. The reserve is neither used nor
    // free to the user, so it gets a figure of its own and the three add up
    // to the total.
    const std::int64_t used = disk->total - disk->available - disk->reservedForRoot;
    bar_->setUsage(used, disk->reservedForRoot, disk->total);
    StyledLabel::setText(used_, QString::fromStdString(Fmt::bytes(used)));
    StyledLabel::setText(free_, QString::fromStdString(Fmt::bytes(disk->available)));
    StyledLabel::setText(reserved_, QString::fromStdString(Fmt::bytes(disk->reservedForRoot)));
    StyledLabel::setText(total_, QString::fromStdString(Fmt::bytes(disk->total)));

    const std::optional<HomeVolume>& home = bridge_.model().homeVolume();
    home_->setVisible(home.has_value());
    if (!home) return;
    // A mount point is a path: bytes, shown the way names are.
    StyledLabel::setText(homeTitle_, QStringLiteral("ホーム (") +
                                         DisplayText::fromBytes(home->mountPoint) +
                                         QStringLiteral(")"));
    const std::int64_t homeUsed =
        home->disk.total - home->disk.available - home->disk.reservedForRoot;
    homeBar_->setUsage(homeUsed, home->disk.reservedForRoot, home->disk.total);
    StyledLabel::setText(homeUsed_, QString::fromStdString(Fmt::bytes(homeUsed)));
    StyledLabel::setText(homeFree_, QString::fromStdString(Fmt::bytes(home->disk.available)));
    StyledLabel::setText(homeTotal_, QString::fromStdString(Fmt::bytes(home->disk.total)));
}

QString DiskCard::figure(const QString& label) const {
    const auto* value = findChild<QLabel*>(label);
    return value != nullptr ? value->text() : QString();
}

}  // namespace kelvane
