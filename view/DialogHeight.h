#pragma once

class QWidget;

namespace zuLogging {

/// How high a dialog may be, in pixels, to be whole on its screen below its title bar: on the
/// screen of `parent`'s window; on the primary screen where that is on none, or null.
int availableDialogHeight(const QWidget* parent);

} // namespace zuLogging
