#include "testhost/toolbox/drawing/Ports.h"

#include "platform/Toolbox.h"
#include "testhost/toolbox/text/MacRoman.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

constexpr std::size_t mostKept = 10'000; // a plug-in that draws for ever must not fill the memory
constexpr short characterWidth = 6;
constexpr short firstFreeFont = 256;

struct NumberedFont {
    const char* name;
    short number;
};

/// Fonts whose numbers have been the same from the start.
constexpr NumberedFont numberedFonts[] = {{"Chicago", 0}, {"New York", 2}, {"Geneva", 3},
                                          {"Monaco", 4},  {"Times", 20},   {"Helvetica", 21},
                                          {"Courier", 22}};

template <typename Item>
void Keep(std::deque<Item>& items, const Item& item) {
    if (items.size() == mostKept) {
        items.pop_front();
    }
    items.push_back(item);
}

void StoreText(const std::string& text, unsigned char* string) {
    string[0] = static_cast<unsigned char>(std::min<std::size_t>(text.size(), 255));
    std::memcpy(string + 1, text.data(), string[0]);
}

} // namespace

std::string TextOf(const unsigned char* string) {
    return string != nullptr
               ? std::string(reinterpret_cast<const char*>(string) + 1, std::size_t{string[0]})
               : std::string();
}

Drawing& TheDrawing() {
    static Drawing drawing;
    return drawing;
}

void Drawing::Note(short kind, const Rect& rect, const unsigned char* text) {
    DrawnOperation operation{};
    operation.kind = kind;
    operation.rect = rect;
    operation.pen = Current().pen;
    StoreText(TextOf(text), operation.text);
    operation.color = kind == DrawnKind::Erase ? Current().background : Current().foreground;
    Keep(Current().operations, operation);
}

void Drawing::Invalidate(const Rect& rect) {
    Keep(Current().invalid, rect);
}

short Drawing::FontNumber(const std::string& name) {
    const auto isName = [&name](const std::string& other) {
        return std::equal(name.begin(), name.end(), other.begin(), other.end(), [](char a, char b) {
            return MacRoman::ToUpper(static_cast<unsigned char>(a)) ==
                   MacRoman::ToUpper(static_cast<unsigned char>(b));
        });
    };
    const auto* numbered =
        std::find_if(std::begin(numberedFonts), std::end(numberedFonts),
                     [&](const NumberedFont& font) { return isName(font.name); });
    if (numbered != std::end(numberedFonts)) {
        return numbered->number;
    }
    if (name.empty()) {
        return 0;
    }
    auto met = std::find_if(fonts.begin(), fonts.end(), isName);
    if (met == fonts.end()) {
        met = fonts.insert(fonts.end(), name);
    }
    return static_cast<short>(firstFreeFont + (met - fonts.begin()));
}

void Drawing::Reset() {
    *this = {};
}

void GetPort(GrafPort** port) {
    *port = TheDrawing().current;
}

void SetPor(GrafPort* port) {
    TheDrawing().current = port;
}

void EraseRect(const Rect* rect) {
    TheDrawing().Note(DrawnKind::Erase, *rect, nullptr);
}

void MoveT(short h, short v) {
    TheDrawing().Current().pen = {v, h};
}

void LineT(short h, short v) {
    TheDrawing().Note(DrawnKind::Line, {0, 0, v, h}, nullptr);
    MoveT(h, v);
}

void PaintRect(const Rect* rect) {
    TheDrawing().Note(DrawnKind::Paint, *rect, nullptr);
}

void FrameRec(const Rect* rect) {
    TheDrawing().Note(DrawnKind::Frame, *rect, nullptr);
}

void RGBForeColor(const RGBColor* color) {
    TheDrawing().Current().foreground = *color;
}

void RGBBackColor(const RGBColor* color) {
    TheDrawing().Current().background = *color;
}

void DrawString(const unsigned char* string) {
    TheDrawing().Note(DrawnKind::Text, {}, string);
    Point& pen = TheDrawing().Current().pen;
    pen.h = static_cast<short>(pen.h + characterWidth * string[0]);
}

void InvalRect(const Rect* rect) {
    TheDrawing().Invalidate(*rect);
}

void InsetRec(Rect* rect, short dh, short dv) {
    rect->left = static_cast<short>(rect->left + dh);
    rect->right = static_cast<short>(rect->right - dh);
    rect->top = static_cast<short>(rect->top + dv);
    rect->bottom = static_cast<short>(rect->bottom - dv);
    if (rect->left >= rect->right || rect->top >= rect->bottom) {
        *rect = {};
    }
}

unsigned char EqualRec(const Rect* a, const Rect* b) {
    return std::memcmp(a, b, sizeof *a) == 0 ? 1 : 0;
}

void InitCursor() {
    TheDrawing().Note(DrawnKind::ArrowCursor, {}, nullptr);
}

unsigned long GetDblTime() {
    return 30; // ticks: half a second
}

void GetWTitle(GrafPort* window, unsigned char* title) {
    StoreText(TheDrawing().Of(window).title, title);
}

void GetFNum(const unsigned char* name, short* number) {
    *number = TheDrawing().FontNumber(TextOf(name));
}
