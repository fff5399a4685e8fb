#pragma once

#include "platform/Types.h"

#include <array>
#include <string>
#include <vector>

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
    long slot = 0;                    ///< what the host keeps for the plug-in, and
    long* slotInUse = nullptr;        ///< where it is while the plug-in has an event
    EventRecord answer{};             ///< the last event, as the area left it
    std::vector<std::string> drawn;   ///< what it drew meanwhile: "paint 0 0 10 10 in #000000"
    EventBlock block{};
};
