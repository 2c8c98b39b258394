#include "ui/app/history_setting.h"

#include <QSettings>

namespace kelvane {
namespace {

QSettings settings() {
    return QSettings(QStringLiteral("Kelvane"), QStringLiteral("Kelvane"));
}

}  // namespace

bool HistorySetting::recordHistory() {
    return settings().value(QStringLiteral("recordHistory"), true).toBool();
}

void HistorySetting::setRecordHistory(bool on) {
    settings().setValue(QStringLiteral("recordHistory"), on);
}

}  // namespace kelvane
