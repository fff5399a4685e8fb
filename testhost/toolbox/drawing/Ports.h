#pragma once

#include "testhost/toolbox/drawing/Drawn.h"

#include <deque>
#include <map>
#include <string>
#include <vector>

/// Ports, as far as plug-ins draw into them: what was drawn in each and what is to be drawn again.
/// Nothing is painted, and no port's record is ever read.
class Drawing {
  public:
    struct Port {
        std::deque<DrawnOperation> operations; ///< oldest first, the last 10,000
        std::deque<Rect> invalid;              ///< likewise
        std::string title;
        Point pen{};
        RGBColor foreground{};
        RGBColor background{0xFFFF, 0xFFFF, 0xFFFF};
    };

    /// What is known of a port; an empty one at first.
    Port& Of(const GrafPort* port) { return ports[port]; }
    Port& Current() { return Of(current); }
    /// Notes an operation of the current port.
    void Note(short kind, const Rect& rect, const unsigned char* text);
    void Invalidate(const Rect& rect);
    void Forget(const GrafPort* port) { ports.erase(port); }
    /// The number that stands for a font; 0 for the empty name.
    short FontNumber(const std::string& name);
    void Reset();

    GrafPort* current = nullptr;

  private:
    std::map<const GrafPort*, Port> ports;
    std::vector<std::string> fonts; ///< those met that have no number of old, the first is 256
};

/// The text of a Pascal string; empty for a null one.
std::string TextOf(const unsigned char* string);
/// The one of the process.
Drawing& TheDrawing();
