#pragma once

class QMenu;
class QWidget;

namespace kelvane {

class AppModel;
struct Entry;

// The menu of one item of the browser, the same from the list and the map:
// "開く" for a folder, "Finderで表示", "ゴミ箱へ入れる" and "完全に削除…". Its
// targets are decided when it opens: the whole selection when the item is part
// of it, otherwise the item alone. Owned by `parent`.
QMenu* entryContextMenu(AppModel& model, const Entry& entry, QWidget* parent);

}  // namespace kelvane
