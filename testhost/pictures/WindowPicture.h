#pragma once

#include "testhost/model/Host.h"
#include "testhost/pictures/Canvas.h"
#include "testhost/session/Words.h"

#include <functional>

class Player;

/// Paints a window with its frame and title: a dialog's objects that are to be seen, and in its
/// areas what was drawn into its port; in any other window all of that, or the text of a method.
Canvas PaintWindow(Host& host, HostWindow& window);

/// `picture "name"`: saves the frontmost visible window as NAME.png in the folder of the pictures.
std::function<void(Player&)> ParsePicture(Words& words);
/// `user picture "name"`: the same when all actions before it are done; takes no turn.
std::function<void(Player&)> ParseUserPicture(Words& words);
