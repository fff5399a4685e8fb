#include "data/blocks/Handles.h"
#include "host/Call.h"
#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <string_view>

namespace {

/// What the setters of a single type send along with the value; what it means is the host's.
constexpr unsigned char SetterFlag = 1;

OSErr Exchange(ClassicSelector selector, const unsigned char* name, ValueBlock* value,
               unsigned char flag = 0) {
    ClassicCall call(selector);
    call->variable.flag = flag;
    return call.PutName(name).PutAddress(value).SendForError();
}

/// Reads a variable that is to be of this type.
OSErr Read(ClassicSelector selector, const unsigned char* name, unsigned char type,
           ValueBlock* value) {
    const OSErr error = Exchange(selector, name, value);
    return error == ResultCode::NoError && value->type != type ? ResultCode::BadParameter : error;
}

OSErr ReadLong(ClassicSelector selector, const unsigned char* name, long* number) {
    if (number == nullptr) {
        return ResultCode::BadParameter;
    }
    ValueBlock value{};
    const OSErr error = Read(selector, name, ValueType::Long, &value);
    if (error == ResultCode::NoError) {
        *number = value.number;
    }
    return error;
}

/// Replaces a handle by a duplicate of it. There is nothing to duplicate in the null handle of an
/// empty text.
OSErr Duplicate(Handle* handle) {
    return *handle != nullptr ? HandToHand(handle) : ResultCode::NoError;
}

} // namespace

unsigned char FourD::StripIPVarName(unsigned char* name) {
    if (name == nullptr) {
        return 0;
    }
    const auto* const characters = reinterpret_cast<const char*>(name + 1);
    const std::string_view text(characters, name[0]);
    // In front of an interprocess variable's name stands one character, or two.
    const std::size_t prefix = text.starts_with('\xD7') ? 1 : text.starts_with("<>") ? 2 : 0;
    if (prefix == 0 || prefix == text.size()) {
        return 0;
    }
    name[0] = static_cast<unsigned char>(text.size() - prefix);
    std::memmove(name + 1, name + 1 + prefix, name[0]);
    return 1;
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
    if (name == nullptr) {
        return ResultCode::BadParameter;
    }
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
    if (text == nullptr) {
        return ResultCode::BadParameter;
    }
    ValueBlock value{};
    OSErr error = Read(Select("GetProcessVariable"), name, ValueType::Text, &value);
    Handle handle = value.text.text;
    if (error == ResultCode::NoError && copy != 0) {
        error = Duplicate(&handle);
    }
    if (error == ResultCode::NoError) {
        *text = handle;
    }
    return error;
}

OSErr FourD::SetTextVar(unsigned char* name, char** text, unsigned char copy) {
    if (name == nullptr) {
        return ResultCode::BadParameter;
    }
    Handle sent = text;
    if (copy != 0) {
        if (const OSErr error = Duplicate(&sent)) {
            return error;
        }
    }
    ValueBlock value{};
    value.type = ValueType::Text;
    const Size size = SizeIfThere(sent);
    // Not CTextBlock's limit: what the field takes.
    value.text.length = static_cast<short>(std::min<Size>(size, SHRT_MAX));
    value.text.text = sent;
    const OSErr error = Exchange(Select("SetProcessVariable"), name, &value, SetterFlag);
    if (error != ResultCode::NoError && sent != text) {
        DisposeHandle(sent);
    }
    return error;
}

OSErr FourD::GetProcessVar(unsigned char* name, unsigned char* value) {
    if (value == nullptr) {
        return ResultCode::BadParameter;
    }
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

OSErr FourD::UpdateVariables() {
    return HostCall(Select("UpdateVariables")).SendForError();
}
