#pragma once

#include <string>
#include <string_view>
#include <vector>

/// A rectangle of pixels, without its right column and its bottom row.
struct Box {
    int left;
    int top;
    int right;
    int bottom;

    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
    Box Inset(int pixels) const;
    Box CutTo(const Box& other) const;
};

struct Colour {
    unsigned char red;
    unsigned char green;
    unsigned char blue;

    bool operator==(const Colour&) const = default;
};

/// A picture in memory, with what it takes to paint a window into it. Whatever lies outside its
/// clip is left alone.
class Canvas {
  public:
    /// All of one colour; each side has 1 to 2000 pixels, whatever is asked for.
    Canvas(int wantedWidth, int wantedHeight, Colour background);

    /// Limits what is painted from now on to a box; Everything() lifts that.
    void SetClip(const Box& box) { clip = box.CutTo(Everything()); }
    Box Everything() const { return {0, 0, width, height}; }
    void Fill(const Box& box, Colour colour);
    /// A line of one pixel along the inside of a box.
    void Frame(const Box& box, Colour colour);
    /// A straight line, its ends included.
    void Line(int left, int top, int toLeft, int toTop, Colour colour);
    /// Paints a line of text from a point on its base line on. One that is wider than `widest`
    /// pixels is squeezed.
    void Text(int left, int baseLine, std::wstring_view text, Colour colour, int widest);
    /// The same in the middle of a box's height and at its left side, not squeezed but cut off.
    void TextIn(const Box& box, std::wstring_view text, Colour colour);
    /// Pixels that a line of text takes.
    static int TextWidth(std::wstring_view text);

    Colour At(int left, int top) const;
    /// The file of the picture.
    std::string Png() const;

  private:
    void Blend(int left, int top, Colour colour, int coverage);

    int width;
    int height;
    Box clip;
    std::vector<Colour> pixels; ///< row by row
};
