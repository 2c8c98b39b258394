// The window's confirmations and notices: model texts shown by the same rule
// as the folder list, wide enough to read, and failures marked as such.
#include <QMessageBox>

#include "ui/app/alert_box.h"
#include "ui/app/content_view.h"
#include "ui_fixture.h"
#include "widget_find.h"

namespace kelvane::test {
namespace {

class AlertBoxTest : public UiTest {
  protected:
    QMessageBox* dialog() { return app->window().content()->openDialog(); }

    void dismiss(const QString& button) {
        findButton(dialog(), button)->click();
        waitFor([&] { return dialog() == nullptr; });
    }
};

TEST_F(AlertBoxTest, ModelTextsReadAsInTheListAndFailuresAreMarked) {
    makeFile("caf\xE9.dat", 2'000'000);
    launch(std::nullopt, false);

    model().confirmDelete({path("caf\xE9.dat")}, false);
    ASSERT_TRUE(waitFor([&] { return dialog() != nullptr; }));
    const QString message = dialog()->informativeText();
    // The byte that is not UTF-8 reads "\xE9", as in the list, not U+FFFD.
    EXPECT_TRUE(message.contains(QStringLiteral("caf\\xE9.dat"))) << message.toStdString();
    // The size never wraps away from its unit.
    EXPECT_TRUE(message.contains(QStringLiteral("2\u00A0MB"))) << message.toStdString();
    EXPECT_GE(dialog()->width(), AlertBox::kMinimumWidth);
    dismiss(QStringLiteral("キャンセル"));

    const struct {
        std::string notice;
        QMessageBox::Icon icon;
    } notices[] = {
        {"2 項目を削除し、約 3 MB を解放しました。", QMessageBox::Information},
        {"1 項目を削除し、約 3 MB を解放しました。\n\n1 項目は削除できませんでした (使用中の可能性)。",
         QMessageBox::Warning},
        {"削除に失敗しました:\n・caf\xE9.dat: アクセス権がありません", QMessageBox::Critical},
        {"管理者権限で削除するには pkexec が必要です。", QMessageBox::Warning},
    };
    for (const auto& [notice, icon] : notices) {
        model().setNotice(notice);
        ASSERT_TRUE(waitFor([&] { return dialog() != nullptr; }));
        EXPECT_EQ(dialog()->icon(), icon) << notice;
        EXPECT_FALSE(dialog()->informativeText().contains(QChar::ReplacementCharacter)) << notice;
        dismiss(QStringLiteral("OK"));
    }
}

}  // namespace
}  // namespace kelvane::test
