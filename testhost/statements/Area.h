#pragma once

#include "platform/Types.h"
#include "testhost/session/Words.h"

#include <array>
#include <functional>
#include <string>
#include <vector>

class Player;

/// A record of the host that an event's message leads to. Plug-ins that read none of it need no
/// more than zeros; bytes beyond it are watched.
struct EventBlock {
    static constexpr unsigned char guardByte = 0xA5;
    std::array<unsigned char, 256> bytes{};
    std::array<unsigned char, 64> guard{};
    void* handle = nullptr; ///< where a message that is a handle points
};

/// An area of a plug-in that a script sends events. One in a form of the host has a window of its
/// own, and its events go to a command; one in a dialog only has what it answered.
struct PlayedArea {
    long command = 0;
    Rect rect{};
    const GrafPort* window = nullptr; ///< null in a dialog
    long slot = 0;                    ///< what the host keeps for the plug-in
    EventRecord answer{};             ///< the last event, as the area left it
    std::vector<std::string> drawn;   ///< what it drew meanwhile: "paint 0 0 10 10 in #000000"
    EventBlock block{};
};

// The statements of a script that concern areas; each reads what follows the words that it begins
// with.

/// `area "Name" create command N [title "..."] [rect T L B R] [table N] [page N] [droppable] [list]
/// [printing]`, `area "Name" event EVENT` and `area "Name" delete`, an area in a form of the host.
/// With a page, or droppable, it is created with an init block. EVENT is a word or a code, then as
/// needed `message N`, `at V H`, `time N`, `modifiers N` and `rect T L B R`, which moves the area.
std::function<void(Player&)> ParseArea(Words& words);
/// `user area "object" event EVENT`: an event of an area in the dialog in front, before the user's
/// next action. It takes no turn.
std::function<void(Player&)> ParseUserArea(Words& words);
/// `expect area "Name" message N | time N | modifiers N | draws "..." | draws nothing`: of the last
/// event.
std::function<void(Player&)> ParseExpectArea(Words& words);
/// Explains the words for events and answers.
std::string DescribeAreaWords();
