// The modal alert that the platform services and the editor both show.
#pragma once

#include "Platform.h"

class QWidget;

namespace AlertBox {

// Blocks until answered and returns the index into alert.buttons of the button pressed, or -1
// when the alert was closed another way. The first button is the default; a "取消" (cancel)
// button is what Escape presses, as on the desktops.
int run(const ModalAlert &alert, QWidget *parent);

} // namespace AlertBox
