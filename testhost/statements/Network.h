#pragma once

#include "testhost/session/Words.h"

#include <functional>

class Player;

// The statements of a script that concern several hosts; each reads what follows its first word.

/// `host "Name" role server|client [version V]`: a further host with a copy of the plug-in.
std::function<void(Player&)> ParseHostStatement(Words& words);
/// `on "Name"`: the statements that follow concern this host.
std::function<void(Player&)> ParseOn(Words& words);
/// `connect "Name" [refused]`, `disconnect "Name"`: a client comes and goes.
std::function<void(Player&)> ParseConnect(Words& words);
std::function<void(Player&)> ParseDisconnect(Words& words);
/// `network pass|delay|drop|cut|corrupt [N]`: what happens to the next request.
std::function<void(Player&)> ParseNetwork(Words& words);
