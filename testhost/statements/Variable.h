#pragma once

#include "testhost/session/Words.h"

#include <functional>

class Player;

// The statements of a script that concern variables of the calling database; each reads what
// follows the words that it begins with.

/// `set variable "Name" KIND VALUE`: of the current process; "<>Name" is one of all.
std::function<void(Player&)> ParseSetVariable(Words& words);
/// `set picture "Name" ["INFORMATION" "DATA"]...`: a picture with these representations.
std::function<void(Player&)> ParseSetPicture(Words& words);
/// `expect variable "Name" KIND VALUE`.
std::function<void(Player&)> ParseExpectVariable(Words& words);
/// `set chosen "Name" N`, `expect chosen "Name" N`: the current element of an array.
std::function<void(Player&)> ParseSetChosen(Words& words);
std::function<void(Player&)> ParseExpectChosen(Words& words);
