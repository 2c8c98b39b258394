#pragma once

namespace kelvane {

class AppModel;
class EmptyStatePanel;

// Shows over the browser (list or map) why there is nothing to see: the
// folder could not be read, or it is empty. Hidden otherwise.
void showListingEmptyState(EmptyStatePanel& panel, const AppModel& model);

}  // namespace kelvane
