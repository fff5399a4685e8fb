// The toolbox calls that a release of the host's library may lack: importing one of those would
// keep the plug-in from being loaded.

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/DebugTrace.h"

#include <type_traits>

#include <windows.h>

namespace {

/// A call of the loaded library; null, after a line in the debug trace, when it has none of this
/// name.
void* LookUp(const char* name) {
    const HMODULE library = GetModuleHandleA("ASINTPPC.dll");
    void* const found =
        library != nullptr ? reinterpret_cast<void*>(GetProcAddress(library, name)) : nullptr;
    if (found == nullptr) {
        _DbgTraceV("The toolbox library has no %s.\n", name);
    }
    return found;
}

template <typename Function>
class OptionalCall;

/// The library's call behind one of the functions below.
template <typename Result, typename... Arguments>
class OptionalCall<Result(Arguments...)> {
  public:
    /// The function only tells what the call takes and answers.
    constexpr OptionalCall(const char* itsName, Result (*)(Arguments...)) : name(itsName) {}

    Result operator()(Arguments... arguments) {
        if (!isLookedUp) {
            isLookedUp = true;
            function = reinterpret_cast<Result (*)(Arguments...)>(LookUp(name));
        }
        if (function != nullptr) {
            return function(arguments...);
        }
        if constexpr (std::is_same_v<Result, OSErr>) {
            return ResultCode::BadParameter;
        } else {
            return Result();
        }
    }

  private:
    const char* name;
    Result (*function)(Arguments...) = nullptr;
    bool isLookedUp = false;
};

template <typename Result, typename... Arguments>
OptionalCall(const char*, Result (*)(Arguments...)) -> OptionalCall<Result(Arguments...)>;

} // namespace

void HPurge(Handle handle) {
    static constinit OptionalCall call("HPurge", HPurge);
    call(handle);
}

OSErr HandAndHand(Handle source, Handle target) {
    static constinit OptionalCall call("HandAndHand", HandAndHand);
    return call(source, target);
}

Size GetPtrSize(Ptr block) {
    static constinit OptionalCall call("GetPtrSize", GetPtrSize);
    return call(block);
}

void SetPtrSize(Ptr block, Size size) {
    static constinit OptionalCall call("SetPtrSize", SetPtrSize);
    call(block, size);
}

OSErr ResError() {
    static constinit OptionalCall call("ResError", ResError);
    return call();
}

Handle GetNamedResource(OSType type, const unsigned char* name) {
    static constinit OptionalCall call("GetNamedResource", GetNamedResource);
    return call(type, name);
}

OSErr FSpDirCreate(const FSSpec* spec, short scriptTag, long* createdDirID) {
    static constinit OptionalCall call("FSpDirCreate", FSpDirCreate);
    if (createdDirID != nullptr) {
        *createdDirID = 0;
    }
    return call(spec, scriptTag, createdDirID);
}

OSErr FSpSetFInfo(const FSSpec* spec, const FInfo* info) {
    static constinit OptionalCall call("FSpSetFInfo", FSpSetFInfo);
    return call(spec, info);
}

void LineT(short h, short v) {
    static constinit OptionalCall call("LineT", LineT);
    call(h, v);
}

void PaintRect(const Rect* rect) {
    static constinit OptionalCall call("PaintRect", PaintRect);
    call(rect);
}

void FrameRec(const Rect* rect) {
    static constinit OptionalCall call("FrameRec", FrameRec);
    call(rect);
}

void RGBForeColor(const RGBColor* color) {
    static constinit OptionalCall call("RGBForeColor", RGBForeColor);
    call(color);
}

void RGBBackColor(const RGBColor* color) {
    static constinit OptionalCall call("RGBBackColor", RGBBackColor);
    call(color);
}

void InvalRect(const Rect* rect) {
    static constinit OptionalCall call("InvalRect", InvalRect);
    call(rect);
}

void GetFNum(const unsigned char* name, short* number) {
    static constinit OptionalCall call("GetFNum", GetFNum);
    *number = 0;
    call(name, number);
}
