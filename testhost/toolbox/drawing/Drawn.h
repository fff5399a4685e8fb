#pragma once

#include "platform/Types.h"

/// What was drawn.
namespace DrawnKind {
inline constexpr short Erase = 0;
inline constexpr short Text = 1;
inline constexpr short ArrowCursor = 2; ///< the arrow was shown
inline constexpr short Paint = 3;       ///< a rectangle was filled
inline constexpr short Frame = 4;       ///< a line was drawn around it
inline constexpr short Line = 5;        ///< from the pen to the rectangle's bottom right
} // namespace DrawnKind

struct DrawnOperation {
    short kind;
    Rect rect;      ///< what was erased, filled or framed
    Point pen;      ///< where a text or a line begins
    Str255 text;    ///< Pascal string
    RGBColor color; ///< in which, that of the background for what was erased
};
