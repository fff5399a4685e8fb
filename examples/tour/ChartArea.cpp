#include "data/Array.h"
#include "data/blocks/Handles.h"
#include "data/blocks/TextBlock.h"
#include "examples/tour/Tour.h"
#include "host/boundary/Fields.h"
#include "host/FourD.h"
#include "host/Value.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"
#include "ui/AreaManager.h"
#include "ui/Dialog.h"
#include "ui/FourDDialog.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

// An area that shows numbers as bars: those of the array XValues of the calling database when the
// area is named X, or, when X is bound to a field, those that stand in its text.

namespace {

constexpr int margin = 8;   // on the left of the first bar
constexpr int barStep = 36; // from one bar to the next
constexpr int barWidth = 28;
constexpr int labelHeight = 14;
constexpr int characterWidth = 6;
constexpr long printedHeight = 120;
constexpr long menuIcon = 15000;
constexpr short chartMenu = 1; // its items
constexpr short chooseNone = 1;
constexpr short chooseLargest = 2;
constexpr RGBColor barColor = {0x4444, 0x7777, 0xAAAA};
constexpr RGBColor chosenColor = {0xDDDD, 0x2222, 0x2222};
constexpr RGBColor markColor = {0x2222, 0x8888, 0x2222};
constexpr char leftKey = 0x1C;
constexpr char rightKey = 0x1D;
constexpr char upKey = 0x1E;
constexpr char downKey = 0x1F;

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
    void UnloadDataToField() override;
    bool DoMouseDown(EventRecord* event) override;
    bool DoKeyEvent(EventRecord* event) override;
    bool DoScrollWheelEvent(Point where, long delta, unsigned short modifiers) override;
    void DoDraw() override;
    void DoSelectAll() override;
    // The host's records of menus and drags are its own business: only that they come counts.
    void InstallMenus() override { hasMenus = true; }
    void DeInstallMenus() override { hasMenus = false; }
    void DoMenuCommand(short menu, short item) override;
    bool CanAcceptDrag(PA_DragAndDropInfo*) override {
        return IsDroppable() && params.printing == 0;
    }
    void DoDrop(PA_DragAndDropInfo* drag) override;
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
    bool Change(bool larger);
    long Count() const { return static_cast<long>(bars.size()); }

    std::vector<long> bars;
    long first = 0;       ///< the leftmost one shown, from 0
    long chosen = -1;     ///< -1: none
    bool changed = false; ///< since the field was loaded or saved
    bool marked = false;  ///< something was dropped onto the chart
    bool hasMenus = false;
};

void ChartArea::LoadDataFromField() {
    bars.clear();
    chosen = -1;
    changed = false;
    ValueBlock value{};
    if (FourD::GetFieldData(static_cast<short>(table), static_cast<short>(field), &value) ==
        ResultCode::NoError) {
        CTextBlock text;
        Value2Text(&value, reinterpret_cast<TextBlock*>(&text), nullptr);
        if (text.GetHandle() != nullptr) {
            bars = NumbersIn({*text.GetHandle(), static_cast<std::size_t>(text.GetLength())});
        }
        text.SetLength(0);
        FreeValueBlock(&value);
    }
    DoInvalidate();
}

/// Writes the numbers, with blanks between, when they were changed and the field takes texts.
void ChartArea::UnloadDataToField() {
    if (!changed) {
        return;
    }
    std::string numbers;
    for (const long number : bars) {
        numbers += (numbers.empty() ? "" : " ") + std::to_string(number);
    }
    const auto length = static_cast<long>(numbers.size());
    const TemporaryHandle bytes(numbers.data(), length);
    FieldData data{};
    data.type = static_cast<short>(fieldType);
    if (data.type == FieldType::Alpha && numbers.size() < sizeof data.text) {
        _CopyC2PStr(numbers.c_str(), data.text);
    } else if (data.type == FieldType::Text && bytes.Get() != nullptr) {
        data.handle = bytes.Get();
        data.size = length;
    } else {
        return;
    }
    changed = FourD::SetFieldData(static_cast<short>(table), static_cast<short>(field), &data) !=
              ResultCode::NoError;
}

void ChartArea::LoadFromArray() {
    const CallersVariables variables(dialog);
    Str255 name;
    _CopyPStr(params.name, name);
    _CatC2PStr("Values", name);
    CArray array;
    bars.clear();
    if (FourD::GetArrayVar(name, &array) == ResultCode::NoError && array.IsArrayLongint()) {
        const std::span<const long> elements = array.Elements<long>();
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
             bar < Count() && margin + (bar - first + 1) * barStep <= rect.right - rect.left;
             ++bar) {
            DrawBar(rect, static_cast<std::size_t>(bar), highest, showChoice && bar == chosen);
        }
    }
    MoveT(rect.left, static_cast<short>(rect.bottom - 1));
    LineT(static_cast<short>(rect.right - 1), static_cast<short>(rect.bottom - 1));
    if (marked) {
        RGBForeColor(&markColor);
        FrameRec(&rect);
        RGBForeColor(&foregroundRGB);
    }
}

void ChartArea::DrawBar(const Rect& rect, std::size_t bar, long highest, bool isChosen) const {
    const long number = std::max(0L, bars[bar]);
    const long room = std::max(0, rect.bottom - rect.top - labelHeight);
    const auto height = static_cast<long>(static_cast<double>(number) /
                                          static_cast<double>(highest) * static_cast<double>(room));
    const auto left =
        static_cast<short>(rect.left + margin + (static_cast<long>(bar) - first) * barStep);
    const Rect shape = {static_cast<short>(rect.bottom - height), left, rect.bottom,
                        static_cast<short>(left + barWidth)};
    RGBForeColor(isChosen ? &chosenColor : &barColor);
    PaintRect(&shape);
    RGBForeColor(&foregroundRGB);
    if (isChosen) {
        FrameRec(&shape);
    }
    Str255 label;
    _CopyC2PStr(std::to_string(bars[bar]).c_str(), label);
    const int labelLeft = left + (barWidth - characterWidth * label[0]) / 2;
    MoveT(static_cast<short>(labelLeft), static_cast<short>(shape.top - 2));
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
    const long bar = first + (event->where.h - areaRect.left - margin) / barStep;
    const bool inside = event->where.h >= areaRect.left + margin &&
                        event->where.h < areaRect.right && event->where.v >= areaRect.top &&
                        event->where.v < areaRect.bottom;
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

/// The arrow keys choose the bar on the left or right, and change that of a field by one.
bool ChartArea::DoKeyEvent(EventRecord* event) {
    const auto key = static_cast<char>(event->message);
    if (key == upKey || key == downKey) {
        return Change(key == upKey);
    }
    if ((key != leftKey && key != rightKey) || bars.empty()) {
        return false;
    }
    Choose(std::clamp(chosen + (key == rightKey ? 1 : -1), 0L, Count() - 1));
    return true;
}

bool ChartArea::Change(bool larger) {
    if (field == 0 || chosen < 0) {
        return false;
    }
    long& number = bars[static_cast<std::size_t>(chosen)];
    if (larger ? number == std::numeric_limits<long>::max() : number <= 0) {
        return false;
    }
    number += larger ? 1 : -1;
    changed = true;
    DoInvalidate();
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

/// Shows all from the start, with none chosen and no mark.
void ChartArea::DoSelectAll() {
    first = 0;
    marked = false;
    Choose(-1);
}

void ChartArea::DoMenuCommand(short menu, short item) {
    if (!hasMenus || menu != chartMenu) {
        return;
    }
    if (item == chooseNone) {
        Choose(-1);
    } else if (item == chooseLargest && !bars.empty()) {
        Choose(std::max_element(bars.begin(), bars.end()) - bars.begin());
    }
}

/// What is dropped says nothing to a chart: it only shows that it came, until all is selected.
void ChartArea::DoDrop(PA_DragAndDropInfo* drag) {
    if (CanAcceptDrag(drag)) {
        marked = true;
        DoInvalidate();
    }
}

class ChartManager : public CXAreaManager {
  public:
    CXArea* CreateArea() override { return new ChartArea; }
    long GetMenuIconID() override { return menuIcon; }
    bool SupportsAdvancedProperties() override { return true; }
    /// There is nothing to set: tells what a chart of this name shows. 0: nothing has changed.
    long DoAdvancedProperties(InitXStruct*, unsigned char* name, Rect*) override {
        const std::string area(reinterpret_cast<const char*>(name + 1), std::size_t{name[0]});
        FourD::AlertV6("Shows the array %sValues, or the field %s_.", area.c_str(), area.c_str());
        return 0;
    }
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
        // Where there is no chart its place says so.
        if (FourDDialog::SetupPluginArea(dialog, "chart", &charts, 0) != nullptr) {
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
