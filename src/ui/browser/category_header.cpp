#include "ui/browser/category_header.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QToolButton>
#include <QVBoxLayout>

#include "core/path_text.h"
#include "ui/app/model_bridge.h"
#include "ui/components/display_text.h"
#include "ui/components/lock_note.h"
#include "ui/components/palette_roles.h"
#include "ui/components/risk_badge.h"
#include "ui/components/size_figure.h"
#include "ui/components/spinner.h"
#include "ui/components/styled_label.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {

namespace {

// Paths for display, home shortened to "~".
QStringList shortForms(const std::vector<std::string>& paths, const std::string& home) {
    QStringList shown;
    for (const std::string& path : paths)
        shown << DisplayText::fromBytes(PathText::shortForm(path, home));
    return shown;
}

}  // namespace

QString CategoryHeader::advice(Risk risk) {
    switch (risk) {
        case Risk::safe:
            return QStringLiteral(
                "削除しても必要に応じて自動的に再生成されます。関連アプリを終了してから削除すると確"
                "実です。");
        case Risk::caution:
            return QStringLiteral(
                "アプリの設定やデータが含まれる場合があります。中身を確認し、不要なものだけ個別に削"
                "除してください。");
        case Risk::danger:
            return QStringLiteral(
                "削除するとデータを失う可能性があります。内容を理解している場合のみ削除してください"
                "。");
    }
    return {};
}

QString CategoryHeader::rootsText(const std::vector<std::string>& roots, const std::string& home) {
    return shortForms(roots, home).join(QStringLiteral("  ·  "));
}

CategoryHeader::CategoryHeader(ModelBridge& bridge, CleanCategory category, QWidget* parent)
    : QWidget(parent), bridge_(bridge), category_(std::move(category)) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(16);
    // An opened scan is not this disk: how safe deleting is does not apply to it.
    const bool readOnly = bridge_.model().readOnlyReason(category_.id).has_value();
    const QColor riskColor =
        readOnly ? PaletteRoles::accent() : PaletteRoles::riskColor(category_.risk);

    // Left: what this category is.
    auto* left = new QVBoxLayout;
    left->setSpacing(6);
    auto* titleRow = new QHBoxLayout;
    titleRow->setSpacing(8);
    const QFont title = Typography::title2();
    auto* symbol = new QLabel(this);
    symbol->setPixmap(SymbolIcons::tinted(category_.icon, riskColor, QFontMetrics(title).height()));
    titleRow->addWidget(symbol);
    const QString name = DisplayText::fromBytes(category_.name);
    titleRow->addWidget(StyledLabel::make(name, Typography::withWeight(title, QFont::DemiBold),
                                          PaletteRoles::primaryText(), this));
    if (!readOnly) titleRow->addWidget(new RiskBadge(category_.risk, this), 0, Qt::AlignVCenter);
    titleRow->addStretch(1);
    left->addLayout(titleRow);

    auto* detail =
        StyledLabel::secondary(DisplayText::fromBytes(category_.detail), Typography::body(), this);
    detail->setWordWrap(true);
    left->addWidget(detail);
    auto* adviceLabel =
        StyledLabel::make(advice(category_.risk), Typography::caption(), riskColor, this);
    adviceLabel->setWordWrap(true);
    adviceLabel->setVisible(!readOnly);
    left->addWidget(adviceLabel);

    roots_ =
        StyledLabel::make({}, Typography::monospaceCaption(), PaletteRoles::tertiaryText(), this);
    roots_->setWordWrap(true);
    roots_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    left->addWidget(roots_);
    // Shown with the missing text: where we looked, so the user can check.
    searched_ =
        StyledLabel::make({}, Typography::monospaceCaption(), PaletteRoles::tertiaryText(), this);
    searched_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    StyledLabel::setText(searched_,
                         shortForms(category_.patterns, bridge_.model().home()).join('\n'));
    left->addWidget(searched_);

    const LockNote note = LockNote::make(this, 0);
    unreadableRow_ = note.row;
    unreadableText_ = note.text;
    left->addWidget(unreadableRow_);
    if (readOnly) {
        const LockNote lock = LockNote::make(this, 0);
        StyledLabel::setText(lock.text,
                             QString::fromStdString(*bridge_.model().readOnlyReason(category_.id)));
        left->addWidget(lock.row);
    }
    left->addStretch(1);
    layout->addLayout(left, 1);

    // Right: how big it is and the way to empty it.
    auto* right = new QVBoxLayout;
    right->setSpacing(6);
    auto* figureRow = new QHBoxLayout;
    figureRow->setSpacing(8);
    figureRow->addStretch(1);
    spinner_ = new Spinner(16, this);
    figureRow->addWidget(spinner_, 0, Qt::AlignVCenter);
    figure_ = new SizeFigure(this);
    figure_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    figureRow->addWidget(figure_);
    right->addLayout(figureRow);
    counts_ = StyledLabel::secondary({}, Typography::caption(), this);
    right->addWidget(counts_, 0, Qt::AlignRight);

    emptyMenu_ = new QToolButton(this);
    emptyMenu_->setText(QStringLiteral("中身をすべて削除"));
    emptyMenu_->setAccessibleName(QStringLiteral("中身をすべて削除"));
    emptyMenu_->setIcon(SymbolIcons::icon("trash"));
    emptyMenu_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    emptyMenu_->setPopupMode(QToolButton::InstantPopup);
    auto* menu = new QMenu(emptyMenu_);
    connect(menu->addAction(QStringLiteral("中身をすべてゴミ箱へ")), &QAction::triggered, this,
            [this] { bridge_.model().confirmCleanCategory(category_, false); });
    connect(menu->addAction(QStringLiteral("中身をすべて完全に削除…")), &QAction::triggered, this,
            [this] { bridge_.model().confirmCleanCategory(category_, true); });
    emptyMenu_->setMenu(menu);
    if (category_.risk == Risk::danger) {
        emptyMenu_->setToolTip(QStringLiteral(
            "このカテゴリはまとめて削除できません。個別に選択して削除してください。"));
    }
    right->addWidget(emptyMenu_, 0, Qt::AlignRight);
    right->addStretch(1);
    layout->addLayout(right);

    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::states && (!change.key || *change.key == category_.id))
            refresh();
    });
    refresh();
}

void CategoryHeader::refresh() {
    const AppModel& model = bridge_.model();
    const CategoryState state = model.state(category_.id);
    using Status = CategoryState::Status;

    if (state.status == Status::missing) {
        StyledLabel::setText(
            roots_, QStringLiteral("該当するフォルダはこのコンピュータには存在しません。"));
        roots_->setFont(Typography::caption());
        StyledLabel::setColor(roots_, PaletteRoles::secondaryText());
        roots_->setMaximumHeight(QWIDGETSIZE_MAX);
    } else {
        StyledLabel::setText(roots_, rootsText(state.roots, model.home()));
        roots_->setFont(Typography::monospaceCaption());
        StyledLabel::setColor(roots_, PaletteRoles::tertiaryText());
        // Many roots would push the list down; two lines say enough.
        roots_->setMaximumHeight(2 * QFontMetrics(roots_->font()).lineSpacing());
    }
    roots_->setToolTip(state.status == Status::missing ? QString() : roots_->text());
    searched_->setVisible(state.status == Status::missing);

    unreadableRow_->setVisible(state.unreadable >= 1);
    StyledLabel::setText(unreadableText_,
                         QString::number(state.unreadable) +
                             QStringLiteral(" 箇所が読み取れませんでした (アクセス権)。"
                                            "正確に測るには管理者権限が必要です。"));

    spinner_->setVisible(state.status == Status::scanning);
    figure_->setBytes(state.bytes);
    counts_->setVisible(state.status == Status::done);
    StyledLabel::setText(counts_, QString::number(state.files) + QStringLiteral(" ファイル / ") +
                                      QString::number(state.dirs) + QStringLiteral(" フォルダ"));
    const std::optional<std::string> readOnly = model.readOnlyReason(category_.id);
    emptyMenu_->setEnabled(state.status == Status::done && state.bytes != 0 &&
                           category_.risk != Risk::danger && !readOnly);
    if (readOnly) emptyMenu_->setToolTip(QString::fromStdString(*readOnly));
}

}  // namespace kelvane
