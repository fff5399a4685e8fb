#pragma once

#include "testhost/model/Host.h"
#include "testhost/pictures/Canvas.h"

/// Paints a window with its frame and title: a dialog's objects that are to be seen, and in its
/// areas what was drawn into its port; in any other window all of that, or the text of a method.
Canvas PaintWindow(Host& host, HostWindow& window);
