#include "data/Array.h"
#include "data/Value.h"
#include "examples/tour/Tour.h"
#include "host/FourD.h"
#include "host/HostState.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/Strings.h"
#include "ui/AreaManager.h"
#include "ui/Dialog.h"
#include "ui/FourDDialog.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

// An area that shows numbers as bars: those of the array XValues of the calling database when the
// area is named X, or, when X is bound to a field, those that stand in its text.

namespace {

constexpr int barStep = 20; // from one bar to the next
constexpr int barWidth = 16;
constexpr int labelHeight = 14;
constexpr long printedHeight = 120;
constexpr long menuIcon = 15000;
constexpr RGBColor chosenColor = {0xDDDD, 0x2222, 0x2222};
constexpr char leftKey = 0x1C;
constexpr char rightKey = 0x1D;

/// The variables of the calling database are out of sight while a dialog is current: brings them
/// back while it lives.
class CallersVariables {
  public:
    explicit CallersVariables(FourDDialog* itsDialog)
        : dialog(itsDialog),
          saved(dialog != nullptr ? FourDDialog::SwitchTo4DContext(dialog) : 0) {}
    ~CallersVariables() {
        if (dialog != nullptr) {
            FourDDialog::SwitchToDlogContext(dialog, saved);
        }
    }
    CallersVariables(const CallersVariables&) = delete;
    CallersVariables& operator=(const CallersVariables&) = delete;

  private:
    FourDDialog* dialog;
    long saved;
};

/// The numbers of a text, in which anything else parts them.
std::vector<long> NumbersIn(const std::string& text) {
    std::vector<long> numbers;
    const char* place = text.c_str();
    while (*place != '\0') {
        char* end = nullptr;
        const long number = std::strtol(place, &end, 10);
        if (end != place) {
            numbers.push_back(number);
            place = end;
        } else {
            ++place;
        }
    }
    return numbers;
}

class ChartArea : public CXArea {
  public:
    void LoadDataFromField() override;
    bool DoMouseDown(EventRecord* event) override;
    bool DoKeyEvent(EventRecord* event) override;
    bool DoScrollWheelEvent(Point where, long delta, unsigned short modifiers) override;
    void DoDraw() override;
    void DoSelectAll() override;
    bool CanBeSelected() override { return true; }
    bool PrintVariableFrame() override { return true; }
    long GetPrintSize() override { return printedHeight; }
    void PrintBand(Rect* rect) override;
    void DoPrint() override;

  private:
    void LoadFromArray();
    void Draw(const Rect& rect, bool showChoice) const;
    void DrawBar(const Rect& rect, std::size_t bar, long highest, bool isChosen) const;
    void Choose(long bar);
    long Count() const { return static_cast<long>(bars.size()); }

    std::vector<long> bars;
    long first = 0;   ///< the leftmost one shown, from 0
    long chosen = -1; ///< -1: none
};

void ChartArea::LoadDataFromField() {
    bars.clear();
    chosen = -1;
    ValueBlock value{};
    if (FourD::GetFieldData(static_cast<short>(table), static_cast<short>(field), &value) ==
        ResultCode::NoError) {
        Str255 text;
        Value2String(&value, text, nullptr);
        bars = NumbersIn({reinterpret_cast<const char*>(text + 1), std::size_t{text[0]}});
        FreeValueBlock(&value);
    }
    DoInvalidate();
}

void ChartArea::LoadFromArray() {
    const CallersVariables variables(dialog);
    Str255 name;
    _CopyPStr(params.name, name);
    _CatC2PStr("Values", name);
    CArray array;
    bars.clear();
    if (FourD::GetArrayVar(name, &array) == ResultCode::NoError && array.IsArrayLongint()) {
        const std::span<const long> elements = array.Longs();
        bars.assign(elements.begin() + std::min<std::ptrdiff_t>(1, std::ssize(elements)),
                    elements.end());
    }
    array.Forget(); // the storage is the host's
}

void ChartArea::DoDraw() {
    if (field == 0) {
        LoadFromArray();
    }
    Draw(areaRect, true);
    CXArea::DoDraw();
}

void ChartArea::Draw(const Rect& rect, bool showChoice) const {
    RGBBackColor(&backgroundRGB);
    RGBForeColor(&foregroundRGB);
    EraseRect(&rect);
    if (!bars.empty()) {
        const long highest = std::max(1L, *std::max_element(bars.begin(), bars.end()));
        for (long bar = first;
             bar < Count() && (bar - first + 1) * barStep <= rect.right - rect.left; ++bar) {
            DrawBar(rect, static_cast<std::size_t>(bar), highest, showChoice && bar == chosen);
        }
    }
    MoveT(rect.left, static_cast<short>(rect.bottom - 1));
    LineT(static_cast<short>(rect.right - 1), static_cast<short>(rect.bottom - 1));
}

void ChartArea::DrawBar(const Rect& rect, std::size_t bar, long highest, bool isChosen) const {
    const long number = std::max(0L, bars[bar]);
    const long room = std::max(0, rect.bottom - rect.top - labelHeight);
    const auto height = static_cast<long>(static_cast<double>(number) /
                                          static_cast<double>(highest) * static_cast<double>(room));
    const auto left = static_cast<short>(rect.left + (static_cast<long>(bar) - first) * barStep);
    const Rect shape = {static_cast<short>(rect.bottom - height), left, rect.bottom,
                        static_cast<short>(left + barWidth)};
    if (isChosen) {
        RGBForeColor(&chosenColor);
    }
    PaintRect(&shape);
    RGBForeColor(&foregroundRGB);
    if (isChosen) {
        FrameRec(&shape);
    }
    Str255 label;
    _CopyC2PStr(std::to_string(bars[bar]).c_str(), label);
    MoveT(left, static_cast<short>(shape.top - 2));
    DrawString(label);
}

void ChartArea::DoPrint() {
    PrintBand(&areaRect);
}

void ChartArea::PrintBand(Rect* rect) {
    if (field == 0) {
        LoadFromArray();
    }
    Draw(*rect, false);
}

void ChartArea::Choose(long bar) {
    if (bar != chosen) {
        chosen = bar;
        DoInvalidate();
    }
}

/// A click chooses a bar; a double click tells the calling database which, in chartBar.
bool ChartArea::DoMouseDown(EventRecord* event) {
    const long bar = first + (event->where.h - areaRect.left) / barStep;
    const bool inside = event->where.h >= areaRect.left && event->where.h < areaRect.right &&
                        event->where.v >= areaRect.top && event->where.v < areaRect.bottom;
    if (!inside || bar >= Count()) {
        Choose(-1);
        return false;
    }
    if (bar == chosen && IsDoubleClick(event)) {
        const CallersVariables variables(dialog);
        Str255 name;
        _CopyC2PStr("chartBar", name);
        FourD::SetLongVar(name, bar + 1);
        eventConsumed = true;
    }
    Choose(bar);
    return true;
}

/// The arrow keys choose the bar on the left or right.
bool ChartArea::DoKeyEvent(EventRecord* event) {
    const auto key = static_cast<char>(event->message);
    if ((key != leftKey && key != rightKey) || bars.empty()) {
        return false;
    }
    Choose(std::clamp(chosen + (key == rightKey ? 1 : -1), 0L, Count() - 1));
    return true;
}

/// A turn upwards shows the bars on the left.
bool ChartArea::DoScrollWheelEvent(Point, long delta, unsigned short) {
    const long to = std::clamp(first - delta, 0L, std::max(0L, Count() - 1));
    if (to == first) {
        return false;
    }
    first = to;
    DoInvalidate();
    return true;
}

/// Shows all from the start, with none chosen.
void ChartArea::DoSelectAll() {
    first = 0;
    Choose(-1);
}

class ChartManager : public CXAreaManager {
  public:
    CXArea* CreateArea() override { return new ChartArea; }
    long GetMenuIconID() override { return menuIcon; }
    void DoDrawStructure(Rect* rect, unsigned char* name, long modifiers) override {
        CXAreaManager::DoDrawStructure(rect, name, modifiers);
        FrameRec(rect);
    }
};

ChartManager charts;

class ChartDialog : public SXDialog {
  public:
    ChartDialog() : SXDialog("Chart", 0) {}

    void PostLoadData() override {
        // Hosts from 11.0 on take no areas in dialogs: there it only says so.
        if (!gHost.HasEngine()) {
            FourDDialog::SetupPluginArea(dialog, "chart", &charts, 0);
            FourDDialog::SetObjVisible(dialog, "none", 0);
        }
    }
};

} // namespace

namespace Tour {

void Chart(CXParam* params, CXResult*) {
    DispatchAreaCall(charts, params);
}

void ShowChart(CXParam* params, CXResult* result) {
    ChartDialog dialog;
    const bool validated =
        dialog.Open(nullptr, params[0].GetStringPtr(), 0) && dialog.EventLoop(nullptr);
    result->SetBoolean(validated ? 1 : 0);
}

} // namespace Tour
