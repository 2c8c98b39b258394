#pragma once

namespace kelvane {

// How the browser shows the current folder. The choice is the window's: it
// holds while the application runs, across categories, and is not saved.
enum class BrowserLayout { list, map };

}  // namespace kelvane
