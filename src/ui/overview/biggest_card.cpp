#include "ui/overview/biggest_card.h"

#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>

#include "ui/app/model_bridge.h"
#include "ui/components/lock_note.h"
#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"
#include "ui/overview/biggest_row.h"

namespace kelvane {

namespace {
constexpr std::size_t kShown = 6;
}  // namespace

BiggestCard::BiggestCard(ModelBridge& bridge, QWidget* parent)
    : Card(QStringLiteral("容量の大きいカテゴリ"), "chart.bar", parent), bridge_(bridge) {
    content()->setSpacing(0);
    placeholder_ = StyledLabel::secondary(QStringLiteral("スキャン中…"), Typography::body(), this);
    content()->addWidget(placeholder_);
    const LockNote note = LockNote::make(this, 8);
    unreadableRow_ = note.row;
    unreadableText_ = note.text;
    content()->addWidget(unreadableRow_);
    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::states || change.field == ModelField::categories) refresh();
    });
    refresh();
}

bool BiggestCard::ranked(const CleanCategory& category) {
    return category.kind == CategoryKind::folders && !category.group.starts_with("探索");
}

std::vector<CleanCategory> BiggestCard::biggest(const AppModel& model) {
    struct Measured {
        CleanCategory category;
        std::int64_t bytes;
    };
    std::vector<Measured> measured;
    for (const CleanCategory& category : model.categories()) {
        if (!ranked(category)) continue;
        const CategoryState state = model.state(category.id);
        if (state.status != CategoryState::Status::done) continue;
        measured.push_back({category, state.bytes});
    }
    std::stable_sort(measured.begin(), measured.end(),
                     [](const Measured& a, const Measured& b) { return a.bytes > b.bytes; });
    std::vector<CleanCategory> result;
    for (std::size_t i = 0; i < measured.size() && i < kShown; ++i) {
        result.push_back(measured[i].category);
    }
    return result;
}

bool BiggestCard::stillLooking(const AppModel& model) {
    // Before the launch scan every category is idle; that is a wait too.
    bool anySettled = false;
    for (const CleanCategory& category : model.categories()) {
        if (!ranked(category)) continue;
        const CategoryState::Status status = model.state(category.id).status;
        if (status == CategoryState::Status::scanning) return true;
        anySettled = anySettled || status != CategoryState::Status::idle;
    }
    return !anySettled;
}

void BiggestCard::refreshUnreadable() {
    const AppModel& model = bridge_.model();
    // Per category, as each category's screen counts them; nested categories
    // (the journal inside /var/log) may count one folder twice, like their sizes.
    std::int64_t folders = 0;
    int categories = 0;
    for (const CleanCategory& category : model.categories()) {
        if (!ranked(category)) continue;
        const CategoryState state = model.state(category.id);
        if (state.status != CategoryState::Status::done || state.unreadable < 1) continue;
        folders += state.unreadable;
        ++categories;
    }
    unreadableRow_->setVisible(folders > 0);
    StyledLabel::setText(unreadableText_,
                         QString::number(categories) + QStringLiteral(" カテゴリの ") +
                             QString::number(folders) +
                             QStringLiteral(" 箇所が読み取れませんでした (アクセス権)。"
                                            "これらのサイズを測るには管理者権限が必要です。"));
}

void BiggestCard::refresh() {
    refreshUnreadable();
    const AppModel& model = bridge_.model();
    const std::vector<CleanCategory> list = biggest(model);

    // Progress steps arrive often while scanning; rebuild the rows only when
    // the ranking itself changed, otherwise just update their figures.
    bool sameOrder = static_cast<std::size_t>(rows_.size()) == list.size();
    for (std::size_t i = 0; sameOrder && i < list.size(); ++i) {
        sameOrder = rows_[static_cast<int>(i)]->id() == list[i].id;
    }
    if (!sameOrder) {
        qDeleteAll(rows_);
        rows_.clear();
        for (const CleanCategory& category : list) {
            auto* row = new BiggestRow(category, this);
            connect(row, &BiggestRow::clicked, this,
                    [this, id = category.id] { bridge_.model().setSelectedID(id); });
            content()->insertWidget(content()->indexOf(unreadableRow_), row);
            rows_.append(row);
        }
    }
    placeholder_->setVisible(list.empty());
    if (list.empty()) {
        StyledLabel::setText(placeholder_, stillLooking(model)
                                               ? QStringLiteral("スキャン中…")
                                               : QStringLiteral("見つかった項目はありません"));
        return;
    }
    const double scale =
        static_cast<double>(std::max<std::int64_t>(model.state(list.front().id).bytes, 1));
    for (std::size_t i = 0; i < list.size(); ++i) {
        const std::int64_t bytes = model.state(list[i].id).bytes;
        rows_[static_cast<int>(i)]->setSize(bytes, static_cast<double>(bytes) / scale);
    }
}

}  // namespace kelvane
