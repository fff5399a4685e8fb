#include "data/Array.h"
#include "data/TextBlock.h"
#include "host/FourD.h"
#include "host/HostCall.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/Strings.h"

#include <algorithm>
#include <cstring>

namespace {

/// What the setters of a single type send along with the value; what it means is the host's.
constexpr unsigned char SetterFlag = 1;

OSErr Exchange(ClassicSelector selector, const unsigned char* name, ValueBlock* value,
               unsigned char flag = 0) {
    ClassicCall call(selector);
    _CopyPStr(name, call->name);
    call->handle = reinterpret_cast<Handle>(value);
    call->variable.flag = flag;
    call.Send();
    return call->error;
}

OSErr ReadLong(ClassicSelector selector, const unsigned char* name, long* number) {
    ValueBlock value{};
    const OSErr error = Exchange(selector, name, &value);
    if (error != ResultCode::NoError) {
        return error;
    }
    if (value.type != ValueType::Long) {
        return ResultCode::BadParameter;
    }
    *number = value.number;
    return ResultCode::NoError;
}

/// Replaces a handle by a duplicate of it. There is nothing to duplicate in the null handle of an
/// empty text.
OSErr Duplicate(Handle* handle) {
    return *handle != nullptr ? HandToHand(handle) : ResultCode::NoError;
}

/// What stands in front of an interprocess variable's name: one character, or two.
constexpr unsigned char InterprocessMark = 0xD7;

/// Takes characters off the front of a Pascal string that is longer than that.
void RemoveFront(unsigned char* string, unsigned char count) {
    string[0] = static_cast<unsigned char>(string[0] - count);
    std::memmove(string + 1, string + 1 + count, string[0]);
}

} // namespace

unsigned char FourD::StripIPVarName(unsigned char* name) {
    if (name[0] >= 2 && name[1] == InterprocessMark) {
        RemoveFront(name, 1);
        return 1;
    }
    if (name[0] >= 3 && name[1] == '<' && name[2] == '>') {
        RemoveFront(name, 2);
        return 1;
    }
    return 0;
}

OSErr FourD::GetVariable(const unsigned char* name, ValueBlock* value) {
    return Exchange(Select("GetVariable"), name, value);
}

OSErr FourD::SetVariable(const unsigned char* name, ValueBlock* value, unsigned char flag) {
    return Exchange(Select("SetVariable"), name, value, flag);
}

OSErr FourD::GetVariableIP(const unsigned char* name, ValueBlock* value) {
    return Exchange(Select("GetVariableIP"), name, value);
}

OSErr FourD::SetVariableIP(const unsigned char* name, ValueBlock* value, unsigned char flag) {
    return Exchange(Select("SetVariableIP"), name, value, flag);
}

OSErr FourD::GetLongVar(unsigned char* name, long* value) {
    return ReadLong(Select("GetProcessVariable"), name, value);
}

OSErr FourD::GetLongIPVar(unsigned char* name, long* value) {
    Str255 bareName;
    _CopyPStr(name, bareName);
    StripIPVarName(bareName);
    return ReadLong(Select("GetLongIPVar"), bareName, value);
}

OSErr FourD::SetLongVar(unsigned char* name, long value) {
    ValueBlock block{};
    block.type = ValueType::Long;
    block.number = value;
    return Exchange(Select("SetProcessVariable"), name, &block, SetterFlag);
}

OSErr FourD::GetTextVar(unsigned char* name, char*** text, unsigned char copy) {
    ValueBlock value{};
    OSErr error = Exchange(Select("GetProcessVariable"), name, &value);
    if (error != ResultCode::NoError) {
        return error;
    }
    if (value.type != ValueType::Text) {
        return ResultCode::BadParameter;
    }
    Handle handle = value.text.text;
    if (copy != 0) {
        error = Duplicate(&handle);
    }
    if (error == ResultCode::NoError) {
        *text = handle;
    }
    return error;
}

OSErr FourD::SetTextVar(unsigned char* name, char** text, unsigned char copy) {
    Handle sent = text;
    if (copy != 0) {
        if (const OSErr error = Duplicate(&sent)) {
            return error;
        }
    }
    ValueBlock value{};
    value.type = ValueType::Text;
    const Size size = sent != nullptr ? GetHandleSize(sent) : 0;
    value.text.length = static_cast<short>(std::min<Size>(size, CTextBlock::MaxLength));
    value.text.text = sent;
    const OSErr error = Exchange(Select("SetProcessVariable"), name, &value, SetterFlag);
    if (error != ResultCode::NoError && sent != text) {
        DisposeHandle(sent);
    }
    return error;
}

OSErr FourD::GetProcessVar(unsigned char* name, unsigned char* value) {
    ValueBlock block{};
    block.type = ValueType::String;
    const OSErr error = Exchange(Select("GetProcessVariable"), name, &block);
    if (error != ResultCode::NoError) {
        value[0] = 0;
        return error;
    }
    _CopyPStr(block.string.string, value);
    return error;
}

OSErr FourD::GetArrayVar(unsigned char* name, CArray* array) {
    ValueBlock value{};
    const OSErr error = Exchange(Select("GetProcessVariable"), name, &value);
    if (error != ResultCode::NoError) {
        return error;
    }
    array->Forget();
    array->Value().type = value.type;
    if (array->IsArray()) { // the contents of another value are no storage to be disposed of
        array->Value() = value;
    }
    return error;
}

OSErr FourD::UpdateVariables() {
    HostCall call(Select("UpdateVariables"));
    call.Send();
    return call->error;
}
