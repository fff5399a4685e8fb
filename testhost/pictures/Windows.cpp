#include "testhost/pictures/Windows.h"

#include "platform/Toolbox.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/Encodings.h"

#include <algorithm>

namespace {
constexpr Colour black{0, 0, 0};
constexpr Colour white{255, 255, 255};
constexpr Colour face{236, 236, 236}; // of windows and buttons
constexpr Colour edge{120, 120, 120};
constexpr Colour dimmed{150, 150, 150};
constexpr Colour titleBar{205, 215, 230};
constexpr Colour chosenRow{40, 90, 170};
constexpr int titleHeight = 22;
constexpr int lineHeight = 15;
constexpr int margin = 4;
constexpr int characterWidth = 6; // what ports reckon with

std::wstring PascalText(const unsigned char* string) {
    return FromAnsi({reinterpret_cast<const char*>(string) + 1, string[0]});
}

Box Moved(const Rect& rect, const Box& content) {
    return {content.left + rect.left, content.top + rect.top, content.left + rect.right,
            content.top + rect.bottom};
}

Colour ColourOf(const RGBColor& color) {
    const auto high = [](unsigned short part) { return static_cast<unsigned char>(part >> 8); };
    return {high(color.red), high(color.green), high(color.blue)};
}

// What a field shows of its variable.
std::wstring ValueText(const TypedValue& value) {
    switch (value.kind) {
    case ValueKind::None:
    case ValueKind::Undefined:
        return {};
    case ValueKind::String:
    case ValueKind::Text:
        return FromAnsi(value.texts.at(0));
    case ValueKind::UnicodeText:
        return FromUtf8(value.texts.at(0));
    case ValueKind::Picture:
        return value.texts.empty() ? L"" : L"(picture)";
    default:
        // As scripts write it, without the kind.
        return FromAnsi(Describe(value).substr(KindName(value.kind).size() + 1));
    }
}

// Paints the lines of a text from the top of a box on.
void PaintLines(Canvas& canvas, Box line, std::wstring_view text) {
    const int bottom = line.bottom;
    for (bool more = true; more && line.top < bottom; line.top += lineHeight) {
        line.bottom = std::min(line.top + lineHeight, bottom);
        const size_t end = text.find_first_of(L"\r\n");
        canvas.TextIn(line, text.substr(0, end), black);
        more = end != std::wstring_view::npos;
        text.remove_prefix(more ? end + 1 : text.size());
    }
}

// What was drawn into a port, as far as it lies in a box.
void Replay(Canvas& canvas, const GrafPort* port, const Box& content, const Box& box) {
    canvas.SetClip(box);
    DrawnOperation drawn;
    for (long index = 0; ToolboxDrawn(port, index, &drawn) != 0; ++index) {
        const Box place = Moved(drawn.rect, content);
        const int left = content.left + drawn.pen.h;
        const int top = content.top + drawn.pen.v;
        const Colour colour = ColourOf(drawn.color);
        switch (drawn.kind) {
        case DrawnKind::Erase:
        case DrawnKind::Paint:
            canvas.Fill(place, colour);
            break;
        case DrawnKind::Frame:
            canvas.Frame(place, colour);
            break;
        case DrawnKind::Line:
            canvas.Line(left, top, place.right, place.bottom, colour);
            break;
        case DrawnKind::Text:
            canvas.Text(left, top, PascalText(drawn.text), colour, characterWidth * drawn.text[0]);
            break;
        default: // the arrow leaves nothing behind
            break;
        }
    }
    canvas.SetClip(canvas.Everything());
}

void PaintField(Canvas& canvas, const Box& box, const ObjectState& state) {
    canvas.Fill(box, state.object.editable && state.object.enabled ? white : face);
    canvas.Frame(box, edge);
    const Box inside = box.Inset(margin / 2);
    const std::wstring text = ValueText(state.value);
    if (inside.Height() < 2 * lineHeight) {
        canvas.TextIn(inside, text, state.object.enabled ? black : dimmed);
    } else {
        PaintLines(canvas, inside, text);
    }
}

// The rows from the top, or those that end with the chosen one when it would not be seen.
void PaintList(Canvas& canvas, const Box& box, const ObjectState& state) {
    const Colour paper = state.object.enabled ? white : face;
    canvas.Fill(box, paper);
    canvas.Frame(box, edge);
    const Box inside = box.Inset(1);
    const int visible = std::max(1, inside.Height() / lineHeight);
    const int first = static_cast<int>(std::max(0L, state.chosen - visible));
    const int end = std::min(static_cast<int>(state.rows.size()), first + visible);
    for (int row = first; row < end; ++row) {
        const int top = inside.top + (row - first) * lineHeight;
        const Box line{inside.left, top, inside.right, std::min(top + lineHeight, inside.bottom)};
        const bool chosen = row + 1 == state.chosen;
        canvas.Fill(line, chosen ? chosenRow : paper);
        const Colour ink = state.object.enabled ? black : dimmed;
        canvas.TextIn({line.left + margin, line.top, line.right, line.bottom},
                      FromAnsi(state.rows[static_cast<size_t>(row)]), chosen ? white : ink);
    }
}

void PaintButton(Canvas& canvas, const Box& box, const DialogObject& button) {
    const Colour ink = button.enabled ? black : dimmed;
    canvas.Fill(box, titleBar);
    canvas.Frame(box, button.enabled ? edge : dimmed);
    if (button.action == FormAction::Validate) { // the one that Return presses
        canvas.Frame(box.Inset(1), edge);
    }
    const std::wstring title = FromAnsi(button.title);
    Box text = box.Inset(1);
    text.left += std::max(0, (text.Width() - Canvas::TextWidth(title)) / 2);
    canvas.TextIn(text, title, ink);
}

void PaintCheckBox(Canvas& canvas, const Box& box, const ObjectState& state) {
    constexpr int size = 12;
    constexpr const wchar_t* marks[] = {L"", L"\u2713", L"\u2013"}; // off, on, mixed
    const int top = (box.top + box.bottom - size) / 2;
    const Box square{box.left, top, box.left + size, top + size};
    const Colour ink = state.object.enabled ? black : dimmed;
    canvas.Fill(square, white);
    canvas.Frame(square, edge);
    const long number = state.value.numbers.empty() ? 0 : state.value.numbers[0];
    canvas.TextIn({square.left + 2, square.top, square.right, square.bottom},
                  marks[std::clamp(number, 0L, 2L)], ink);
    canvas.TextIn({square.right + margin, box.top, box.right, box.bottom},
                  FromAnsi(state.object.title), ink);
}

void PaintObject(Canvas& canvas, const Box& content, const ObjectState& state,
                 const GrafPort* port) {
    const Box box = Moved(state.object.rect, content).CutTo(content);
    switch (state.object.kind) {
    case FormObjectKind::Label:
        return canvas.TextIn(box, FromAnsi(state.object.title),
                             state.object.enabled ? black : dimmed);
    case FormObjectKind::Field:
        return PaintField(canvas, box, state);
    case FormObjectKind::Button:
        return PaintButton(canvas, box, state.object);
    case FormObjectKind::CheckBox:
        return PaintCheckBox(canvas, box, state);
    case FormObjectKind::ListBox:
        return PaintList(canvas, box, state);
    case FormObjectKind::Area:
        canvas.Fill(box, white);
        Replay(canvas, port, content, box);
        return canvas.Frame(box, edge);
    }
}

void PaintDialog(Canvas& canvas, const Box& content, Dialog& dialog, const GrafPort* port) {
    for (const ObjectState& state : dialog.State().objects) {
        if (state.object.visible && (state.object.page == 0 || state.object.page == dialog.page)) {
            PaintObject(canvas, content, state, port);
        }
    }
}

// The content and its title bar, within a frame of one pixel.
Canvas PaintFrame(int width, int height, const std::wstring& title) {
    Canvas canvas(width + 2, height + titleHeight + 1, face);
    const Box all = canvas.Everything();
    const Box bar{0, 0, all.right, titleHeight};
    canvas.Fill(bar, titleBar);
    canvas.Frame(bar, edge);
    canvas.Frame(all, edge);
    Box text = bar.Inset(margin);
    text.left += std::max(0, (text.Width() - Canvas::TextWidth(title)) / 2);
    canvas.TextIn(text, title, black);
    return canvas;
}

std::wstring TitleOf(HostWindow& window) {
    Str255 title;
    GetWTitle(&window.port, title);
    return PascalText(title);
}

std::string_view MethodText(const HostWindow& window) {
    const TERec& record = **window.text;
    return {*record.hText, static_cast<size_t>(record.teLength)};
}
} // namespace

Canvas PaintWindow(Host& host, HostWindow& window) {
    if (Dialog* const dialog = host.dialogs.Find(host.dialogs.OfWindow(&window.port))) {
        Canvas canvas = PaintFrame(dialog->width, dialog->height, FromAnsi(dialog->title));
        const Box content{1, titleHeight, 1 + dialog->width, titleHeight + dialog->height};
        PaintDialog(canvas, content, *dialog, &window.port);
        return canvas;
    }
    const Rect& place = window.content.rgnBBox;
    const int width = place.right - place.left;
    const int height = place.bottom - place.top;
    Canvas canvas = PaintFrame(width, height, TitleOf(window));
    const Box content{1, titleHeight, 1 + width, titleHeight + height};
    if (window.text != nullptr) {
        canvas.Fill(content, white);
        PaintLines(canvas, content.Inset(margin), FromAnsi(MethodText(window)));
    }
    Replay(canvas, &window.port, content, content);
    return canvas;
}
