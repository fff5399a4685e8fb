#include "testhost/session/Progress.h"

#include <windows.h>

namespace {
std::string Counted(size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}
} // namespace

std::string Account::Describe() const {
    std::string text;
    if (isReplay) {
        text = Counted(pluginCalls, "call", "calls") + " into the plug-in and " +
               Counted(hostCalls, "call", "calls") + " into the host played, " +
               Counted(failed, "difference", "differences") + ", " +
               Counted(problems, "problem", "problems");
    } else {
        text = std::to_string(pluginCalls) + " calls into the plug-in, " +
               std::to_string(hostCalls) + " calls into the host, " + std::to_string(held) +
               " expectations held, " + std::to_string(failed) + " failed, " +
               std::to_string(problems) + " problems";
    }
    if (crashes > 0) {
        text += ", " + Counted(crashes, "crash", "crashes");
    }
    if (notPlayed > 0) {
        text += "; " +
                (isReplay ? Counted(notPlayed, "event", "events")
                          : Counted(notPlayed, "statement", "statements")) +
                " not played";
    }
    return text;
}

void Progress::Enter(Phase next) {
    began = GetTickCount(); // first: whoever watches compares it when the phase has a limit
    phase = next;
}

void Progress::Begin(size_t number, std::string_view itsPlace, std::string_view itsLine) {
    statement = number;
    Copy(place, itsPlace);
    Copy(line, itsLine);
    Enter(phase);
}
