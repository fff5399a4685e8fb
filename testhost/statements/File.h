#pragma once

#include "testhost/session/Words.h"

#include <functional>

class Player;

// The statements of a script that concern files and folders; each reads what follows the words
// that it begins with.

/// `expect file "PATH" ["CONTENTS"]`, `expect no file "PATH"`, `expect folder "PATH"`.
std::function<void(Player&)> ParseExpectFile(Words& words);
std::function<void(Player&)> ParseExpectNoFile(Words& words);
std::function<void(Player&)> ParseExpectFolder(Words& words);
/// `show "PATH"`: prints a file.
std::function<void(Player&)> ParseShow(Words& words);
