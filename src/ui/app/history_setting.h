#pragma once

namespace kelvane {

// "履歴を記録する", kept between launches in the application's settings.
namespace HistorySetting {

// On unless the user turned it off.
bool recordHistory();
void setRecordHistory(bool on);

}  // namespace HistorySetting
}  // namespace kelvane
