#include "ui/overview/growth_card.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>

#include "core/fmt.h"
#include "core/path_text.h"
#include "ui/app/model_bridge.h"
#include "ui/components/display_text.h"
#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"
#include "ui/overview/growth_row.h"

namespace kelvane {
namespace {

constexpr ComparisonPoint kPoints[] = {ComparisonPoint::previous, ComparisonPoint::weekAgo,
                                       ComparisonPoint::monthAgo};

QString dateOf(std::int64_t seconds) {
    return QString::fromStdString(Fmt::date(Date{static_cast<double>(seconds)}));
}

}  // namespace

GrowthCard::GrowthCard(ModelBridge& bridge, QWidget* parent)
    : Card(QStringLiteral("増えた場所"), "chart.line.uptrend.xyaxis", parent), bridge_(bridge) {
    content()->setSpacing(2);
    auto* chooserRow = new QHBoxLayout;
    chooserRow->setContentsMargins(0, 0, 0, 6);
    auto* label = StyledLabel::secondary(QStringLiteral("比較の基準"), Typography::callout(), this);
    chooserRow->addWidget(label);
    point_ = new QComboBox(this);
    point_->addItems(
        {QStringLiteral("前回"), QStringLiteral("1 週間前"), QStringLiteral("1 か月前")});
    point_->setAccessibleName(QStringLiteral("比較の基準"));
    label->setBuddy(point_);
    chooserRow->addWidget(point_);
    chooserRow->addStretch(1);
    content()->addLayout(chooserRow);
    placeholder_ = StyledLabel::secondary({}, Typography::body(), this);
    placeholder_->setWordWrap(true);
    content()->addWidget(placeholder_);

    connect(point_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index >= 0 && index < 3) bridge_.model().setComparisonPoint(kPoints[index]);
    });
    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::growth || change.field == ModelField::recordHistory ||
            change.field == ModelField::categories)
            refresh();
    });
    refresh();
}

void GrowthCard::refresh() {
    const AppModel& model = bridge_.model();
    const auto at = std::find(std::begin(kPoints), std::end(kPoints), model.comparisonPoint());
    point_->setCurrentIndex(static_cast<int>(at - std::begin(kPoints)));

    qDeleteAll(rows_);
    rows_.clear();
    const GrowthReport& report = model.growth();
    QString waiting;
    if (!model.recordHistory()) {
        waiting = QStringLiteral(
            "履歴の記録はオフです。表示メニューの「履歴を記録する」でオンにできます。");
    } else if (!model.historyRead()) {
        waiting = QStringLiteral("履歴を読み込み中…");
    } else if (report.since.empty()) {
        waiting = QStringLiteral("比較できる測定がまだありません。");
        if (report.possibleAt && !report.afterNextMeasurement) {
            waiting += dateOf(*report.possibleAt) + QStringLiteral(" 以降に比較できます。");
        } else {
            waiting += QStringLiteral("次回の起動後に比較できます。");
        }
    } else if (report.rows.empty()) {
        waiting = QStringLiteral("比較の基準から変わった場所はありません。");
    }
    placeholder_->setVisible(!waiting.isEmpty());
    StyledLabel::setText(placeholder_, waiting);
    if (!waiting.isEmpty() && !model.recordHistory()) return;

    for (const GrowthRow& row : report.rows) {
        const auto category =
            std::find_if(model.categories().begin(), model.categories().end(),
                         [&](const CleanCategory& c) { return c.id == row.categoryID; });
        if (category == model.categories().end()) continue;
        const QString name = DisplayText::fromBytes(category->name);
        const QString title =
            row.path.empty() ? name
                             : DisplayText::fromBytes(PathText::shortForm(row.path, model.home()));
        QString detail = row.path.empty() ? QStringLiteral("カテゴリ全体") : name;
        if (const auto since = report.since.find(row.categoryID); since != report.since.end())
            detail += QStringLiteral(" · ") + dateOf(since->second) + QStringLiteral(" と比較");
        auto* button = new GrowthRowButton(row, category->icon, title, detail, this);
        connect(button, &GrowthRowButton::clicked, this,
                [this, row] { bridge_.model().openGrowthRow(row); });
        content()->addWidget(button);
        rows_.append(button);
    }
}

}  // namespace kelvane
