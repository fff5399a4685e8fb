#include "examples/tour/Tour.h"
#include "platform/Toolbox.h"
#include "shell/base/Format.h"
#include "shell/base/Strings.h"

#include <iterator>

namespace {

short Width(const Rect& rect) {
    return static_cast<short>(rect.right - rect.left);
}

short Height(const Rect& rect) {
    return static_cast<short>(rect.bottom - rect.top);
}

const char* EventName(unsigned short what) {
    static constexpr const char* Names[] = {"null event", "mouse down",    "mouse up",
                                            "key down",   "key up",        "auto key",
                                            "update",     "disk inserted", "activate"};
    return what < std::size(Names) ? Names[what] : "other event";
}

} // namespace

namespace Tour {

void RectParts(CXParam* params, CXResult*) {
    Rect rect;
    params[0].GetRect(rect);
    params[1].SetShort(Width(rect));
    params[2].SetShort(Height(rect));
    params[3].SetLong(long{Width(rect)} * Height(rect));
}

void DescribeEvent(CXParam* params, CXResult* result) {
    EventRecord event;
    params[0].GetEvent(&event);
    char text[80];
    FormatText(text, sizeof text, "%s at %d, %d", EventName(event.what), event.where.h,
               event.where.v);
    Str255 description;
    _CopyC2PStr(text, description);
    result->SetString(description);
}

void BlankPicture(CXParam* params, CXResult* result) {
    auto** const picture = reinterpret_cast<Picture**>(NewHandleClear(sizeof(Picture)));
    if (picture != nullptr) {
        (*picture)->picSize = sizeof(Picture);
        params[0].GetRect((*picture)->picFrame);
    }
    result->SetPicHandle(picture);
}

void PictureWidth(CXParam* params, CXResult* result) {
    Picture** const picture = params[0].GetPicHandle();
    result->SetShort(picture != nullptr ? Width((*picture)->picFrame) : short{0});
}

} // namespace Tour
