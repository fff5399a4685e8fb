#include "testhost/pictures/Canvas.h"

#include "platform/Compiler.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <stb_image_write.h>
#include <stb_truetype.h>
#include <stdexcept>

/// The font's file, which the linker puts in.
extern const unsigned char fontFile[] NIMBO_SYMBOL("_binary_DejaVuSans_ttf_start");

namespace {
constexpr int mostPixels = 2000;
constexpr float fontSize = 11; // pixels from one line to the next, without leading
constexpr int capitalHeight = 8;
constexpr int opaque = 255;

const stbtt_fontinfo& Font() {
    static const stbtt_fontinfo font = [] {
        stbtt_fontinfo info;
        if (stbtt_InitFont(&info, fontFile, 0) == 0) {
            throw std::runtime_error("the font is unreadable");
        }
        return info;
    }();
    return font;
}

float Scale() {
    return stbtt_ScaleForMappingEmToPixels(&Font(), fontSize);
}

// How far the next character stands, in pixels.
float Advance(wchar_t character) {
    int advance = 0;
    int bearing = 0;
    stbtt_GetCodepointHMetrics(&Font(), character, &advance, &bearing);
    return static_cast<float>(advance) * Scale();
}

unsigned char Mixed(unsigned char below, unsigned char above, int coverage) {
    return static_cast<unsigned char>((below * (opaque - coverage) + above * coverage) / opaque);
}

void Append(void* file, void* bytes, int count) {
    static_cast<std::string*>(file)->append(static_cast<const char*>(bytes),
                                            static_cast<size_t>(count));
}
} // namespace

Box Box::Inset(int pixels) const {
    return {left + pixels, top + pixels, right - pixels, bottom - pixels};
}

Box Box::CutTo(const Box& other) const {
    return {std::max(left, other.left), std::max(top, other.top), std::min(right, other.right),
            std::min(bottom, other.bottom)};
}

Canvas::Canvas(int wantedWidth, int wantedHeight, Colour background)
    : width(std::clamp(wantedWidth, 1, mostPixels)),
      height(std::clamp(wantedHeight, 1, mostPixels)),
      clip(Everything()),
      pixels(static_cast<size_t>(width) * static_cast<size_t>(height), background) {}

Colour Canvas::At(int left, int top) const {
    return pixels.at(static_cast<size_t>(top) * static_cast<size_t>(width) +
                     static_cast<size_t>(left));
}

void Canvas::Blend(int left, int top, Colour colour, int coverage) {
    if (left < clip.left || left >= clip.right || top < clip.top || top >= clip.bottom) {
        return;
    }
    Colour& pixel =
        pixels[static_cast<size_t>(top) * static_cast<size_t>(width) + static_cast<size_t>(left)];
    pixel = {Mixed(pixel.red, colour.red, coverage), Mixed(pixel.green, colour.green, coverage),
             Mixed(pixel.blue, colour.blue, coverage)};
}

void Canvas::Fill(const Box& box, Colour colour) {
    const Box cut = box.CutTo(clip);
    for (int top = cut.top; top < cut.bottom; ++top) {
        for (int left = cut.left; left < cut.right; ++left) {
            Blend(left, top, colour, opaque);
        }
    }
}

void Canvas::Frame(const Box& box, Colour colour) {
    Fill({box.left, box.top, box.right, box.top + 1}, colour);
    Fill({box.left, box.bottom - 1, box.right, box.bottom}, colour);
    Fill({box.left, box.top, box.left + 1, box.bottom}, colour);
    Fill({box.right - 1, box.top, box.right, box.bottom}, colour);
}

void Canvas::Line(int left, int top, int toLeft, int toTop, Colour colour) {
    const int steps = std::max({std::abs(toLeft - left), std::abs(toTop - top), 1});
    for (int step = 0; step <= steps; ++step) {
        const double part = static_cast<double>(step) / steps;
        Blend(static_cast<int>(std::lround(left + part * (toLeft - left))),
              static_cast<int>(std::lround(top + part * (toTop - top))), colour, opaque);
    }
}

int Canvas::TextWidth(std::wstring_view text) {
    float total = 0;
    for (const wchar_t character : text) {
        total += Advance(character);
    }
    return static_cast<int>(std::ceil(total));
}

void Canvas::Text(int left, int baseLine, std::wstring_view text, Colour colour, int widest) {
    const int natural = TextWidth(text);
    const float squeeze =
        natural > widest ? static_cast<float>(widest) / static_cast<float>(natural) : 1;
    auto pen = static_cast<float>(left);
    for (const wchar_t character : text) {
        const int start = static_cast<int>(std::floor(pen));
        if (start >= clip.right) {
            return; // texts may be long
        }
        int glyphWidth = 0;
        int glyphHeight = 0;
        int right = 0;
        int down = 0;
        unsigned char* const glyph = stbtt_GetCodepointBitmapSubpixel(
            &Font(), Scale() * squeeze, Scale(), pen - static_cast<float>(start), 0, character,
            &glyphWidth, &glyphHeight, &right, &down);
        for (int place = 0; glyph != nullptr && place < glyphWidth * glyphHeight; ++place) {
            Blend(start + right + place % glyphWidth, baseLine + down + place / glyphWidth, colour,
                  glyph[place]);
        }
        stbtt_FreeBitmap(glyph, nullptr);
        pen += Advance(character) * squeeze;
    }
}

void Canvas::TextIn(const Box& box, std::wstring_view text, Colour colour) {
    const Box former = clip;
    clip = box.CutTo(clip);
    Text(box.left, (box.top + box.bottom + capitalHeight) / 2, text, colour, TextWidth(text));
    clip = former;
}

std::string Canvas::Png() const {
    static_assert(sizeof(Colour) == 3);
    std::string file;
    stbi_write_png_to_func(Append, &file, width, height, sizeof(Colour), pixels.data(),
                           width * static_cast<int>(sizeof(Colour)));
    return file;
}
