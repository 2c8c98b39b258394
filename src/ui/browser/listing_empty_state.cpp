#include "ui/browser/listing_empty_state.h"

#include "model/app_model.h"
#include "ui/components/empty_state_panel.h"

namespace kelvane {

void showListingEmptyState(EmptyStatePanel& panel, const AppModel& model) {
    if (const auto& error = model.entriesError()) {
        panel.setContent("lock.fill", QString::fromStdString(*error),
                         QStringLiteral("管理者権限が必要なフォルダです。"));
        panel.show();
    } else if (model.entries().empty() && !model.entriesLoading()) {
        panel.setContent("tray", QStringLiteral("空です"),
                         QStringLiteral("このフォルダにはファイルがありません。"));
        panel.show();
    } else {
        panel.hide();
    }
}

}  // namespace kelvane
