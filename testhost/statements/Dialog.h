#pragma once

#include "testhost/session/Words.h"

#include <functional>

class Player;
struct DialogState;

// The statements of a script that concern dialogs; each reads what follows the words that it begins
// with.

/// `user type "object" "text"`: what the user types in the next turn of a dialog.
std::function<void(Player&)> ParseUserType(Words& words);
/// `user click "object"`.
std::function<void(Player&)> ParseUserClick(Words& words);
/// `user choose "list" ROW`: 0 chooses none.
std::function<void(Player&)> ParseUserChoose(Words& words);
/// `user check "box" on|off|mixed`.
std::function<void(Player&)> ParseUserCheck(Words& words);
/// `user page N`.
std::function<void(Player&)> ParseUserPage(Words& words);
/// `user drag "object" "object"`.
std::function<void(Player&)> ParseUserDrag(Words& words);
/// `user validate`, `user cancel`.
std::function<void(Player&)> ParseUserValidate(Words& words);
std::function<void(Player&)> ParseUserCancel(Words& words);
/// What the user does with the dialog when all before it is done; takes no turn. What it says has
/// the place of its own line, not that of the call that shows the dialog.
std::function<void(Player&)> Look(std::function<void(Player&, const DialogState&)> look);
/// `user sees ...`: an expectation, as `expect dialog` states it, that is looked at when all before
/// it is done. It takes no turn.
std::function<void(Player&)> ParseUserSees(Words& words);

/// `expect dialog validated|cancelled`, `... page N`, `... title "text"`, and of an object
/// `... "object" value KIND VALUE | title "text" | rows "text"... | chosen ROW | enabled | disabled
/// | visible | invisible | editable | locked`: as the last dialog was after its last turn or when
/// it closed.
std::function<void(Player&)> ParseExpectDialog(Words& words);
