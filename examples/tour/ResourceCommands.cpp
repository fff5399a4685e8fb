#include "examples/tour/Tour.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "shell/base/Format.h"
#include "shell/base/Strings.h"

// What Tour's resource file holds: tour.resources.txt.

namespace {

constexpr unsigned long ResourceMap = 0x546D6170; // 'Tmap'
constexpr unsigned long StringList = 0x53545223;  // 'STR#'
constexpr unsigned long Style = 0x5374796C;       // 'Styl'

// Tour's own numbers for its resources; the map tells where they really are.
constexpr short MessageList = 1;
constexpr short WeekdayList = 2;
constexpr short HeadingStyle = 1;

} // namespace

namespace Tour {

void Message(CXParam* params, CXResult* result) {
    const short list = FourD::GetResNum(ResourceMap, StringList, MessageList);
    FourD::GetPluginSprIndString(result->GetStringPtr(), list, params[0].GetShort(),
                                 params[1].GetLong(), params[2].GetLong());
}

void WeekdayName(CXParam* params, CXResult* result) {
    const short list = FourD::GetResNum(ResourceMap, StringList, WeekdayList);
    FourD::GetPluginIndString(result->GetStringPtr(), list, params[0].GetShort());
}

void ExpandReference(CXParam* params, CXResult* result) {
    Str255 text;
    _CopyPStr(params[0].GetStringPtr(), text);
    FourD::EvalPluginStringWithResRefs(text);
    result->SetString(text);
}

void ColourParts(CXParam* params, CXResult* result) {
    RGBColor colour;
    result->SetShort(FourD::GetRGBColor(params[0].GetLong(), &colour));
    params[1].SetLong(colour.red);
    params[2].SetLong(colour.green);
    params[3].SetLong(colour.blue);
}

void HeadingFont(CXParam*, CXResult* result) {
    const short number = FourD::GetResNum(ResourceMap, Style, HeadingStyle);
    FourDStyle style;
    FourDPlatformStyle spec;
    Str255 text = {};
    if (FourD::GetStyleRes(number, &style) == ResultCode::NoError &&
        FourD::GetPlatformStyle(&style, &spec) == ResultCode::NoError) {
        char font[256];
        _CopyP2CStr(spec.font, font);
        char description[300];
        FormatText(description, sizeof description, "%s, size %d, face %d", font, spec.size,
                   spec.face);
        _CopyC2PStr(description, text);
    }
    result->SetString(text);
}

void HostFolder(CXParam* params, CXResult* result) {
    Str255 path = {};
    FourD::Get4DFolderPath(path, params[0].GetLong(), 0);
    result->SetString(path);
}

} // namespace Tour
