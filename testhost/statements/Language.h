#pragma once

#include "testhost/session/Words.h"

#include <functional>

class Player;

// The statements of a script that concern the host's language and its boxes; each reads what
// follows the words that it begins with.

/// `set command N "Name"`: a command goes by this name.
std::function<void(Player&)> ParseSetCommand(Words& words);
/// `method "Name" "SOURCE"`: the database has a method.
std::function<void(Player&)> ParseMethod(Words& words);
/// `answer confirm ok|cancel`: what the user presses in the next confirmation box.
std::function<void(Player&)> ParseAnswerConfirm(Words& words);
/// `answer formula "text"|cancel`: what the user makes of the next formula.
std::function<void(Player&)> ParseAnswerFormula(Words& words);
/// `expect alert "text"`, `expect confirm "text"`: the host has shown this box.
std::function<void(Player&)> ParseExpectAlert(Words& words);
std::function<void(Player&)> ParseExpectConfirm(Words& words);
