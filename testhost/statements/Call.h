#pragma once

#include "testhost/session/Words.h"

#include <functional>

class Player;

// The statements of a script that concern calls of the plug-in's commands; each reads what follows
// the words that it begins with.

/// `call N VALUE... [-> KIND [VALUE]]`: a command, and what its result has to be.
std::function<void(Player&)> ParseCall(Words& words);
/// `background call ...`: the same in a process of its own.
std::function<void(Player&)> ParseBackground(Words& words);
/// `expect param N KIND VALUE`: a parameter after the last call.
std::function<void(Player&)> ParseExpectParameter(Words& words);
/// `expect result KIND VALUE`: the result of the last call.
std::function<void(Player&)> ParseExpectResult(Words& words);
