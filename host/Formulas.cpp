#include "host/Formulas.h"

#include "data/blocks/TextBlock.h"
#include "host/Call.h"
#include "host/FourD.h"
#include "host/Value.h"
#include "platform/Toolbox.h"
#include "shell/base/DebugTrace.h"
#include "shell/base/Strings.h"
#include "shell/files/FileSpecs.h"

#include <algorithm>
#include <cstring>

namespace {

/// One call with a handle, answered by the host's result code.
OSErr SendHandle(Selector selector, char** handle) {
    return HostCall(selector).PutAddress(handle).SendForError();
}

/// Has the host evaluate text or tokens into a value whose type is set.
OSErr Evaluate(HostCall& call, Handle source, ValueBlock* value) {
    call.PutNumbers(reinterpret_cast<long>(value)).PutAddress(source).Require(value);
    return call.SendForError();
}

/// The same with an expression whose value goes into `result`.
OSErr EvaluateExpression(Selector selector, const unsigned char* expression, ValueBlock* value,
                         const void* result) {
    if (expression == nullptr || result == nullptr) {
        return ResultCode::BadParameter;
    }
    const TemporaryHandle source(expression + 1, expression[0]);
    if (source.Get() == nullptr) {
        return ResultCode::MemoryFull;
    }
    HostCall call(selector);
    return Evaluate(call, source.Get(), value);
}

/// Evaluates a host command to a text and hands it to `use`, which answers a result code.
template <typename Use>
OSErr WithTextOfCommand(short command, Use use) {
    CTextBlock text;
    ValueBlock value{};
    OSErr error = EvaluateCommand(command, &value);
    if (error == ResultCode::NoError) {
        error =
            static_cast<OSErr>(Value2Text(&value, reinterpret_cast<TextBlock*>(&text), nullptr));
    }
    FreeValueBlock(&value);
    if (error == ResultCode::NoError) {
        error = use(text);
    }
    text.SetLength(0);
    return error;
}

} // namespace

OSErr NameOfCommand(short command, char* name) {
    constexpr OSErr NoCommandName = -1;
    constexpr int LongestCommandName = 127;
    FourD::GetCommandNameC(command, name);
    name[LongestCommandName] = '\0';
    return name[0] != '\0' ? ResultCode::NoError : NoCommandName;
}

OSErr EvaluateCommand(short command, ValueBlock* value) {
    Str255 name;
    FourD::GetCommandName(command, name);
    if (name[0] == 0) {
        return ResultCode::BadParameter;
    }
    value->type = ValueType::Undefined;
    return WithTokens(name + 1, name[0],
                      [value](Handle tokens) { return FourD::ExecTokenizedFunc(tokens, value); });
}

OSErr FourD::ExecProc(const char* text) {
    if (text == nullptr) {
        return ResultCode::BadParameter;
    }
    if (!gHost.HasEngine()) {
        const TemporaryHandle source(text, static_cast<long>(std::strlen(text)));
        return source.Get() != nullptr ? SendHandle(Select("ExecProc"), source.Get())
                                       : ResultCode::MemoryFull;
    }
    FDStringBlock string{};
    OSErr error = CreateFDString(&string);
    if (error != ResultCode::NoError) {
        return error;
    }
    error = CopyCStringToFDString(text, &string);
    if (error == ResultCode::NoError) {
        EngineCall call(Select("ExecProc"));
        call->string = string;
        error = call.SendForError();
    }
    DisposeFDStringBlock(&string);
    return error;
}

void FourD::ExecProc(unsigned char* text) {
    if (text != nullptr) {
        char statement[sizeof(Str255)];
        _CopyP2CStr(text, statement);
        ExecProc(statement);
    }
}

OSErr FourD::ExecFunc(unsigned char* expression, long* result) {
    ValueBlock value{};
    value.type = ValueType::Long;
    const OSErr error = EvaluateExpression(Select("ExecLongFunc"), expression, &value, result);
    if (result != nullptr) {
        *result = error == ResultCode::NoError ? value.number : 0;
    }
    return error;
}

OSErr FourD::ExecFunc(unsigned char* expression, REAL_U* result) {
    ValueBlock value{};
    value.type = ValueType::Real;
    const OSErr error = EvaluateExpression(Select("ExecRealFunc"), expression, &value, result);
    if (error == ResultCode::NoError) {
        *result = value.real;
    }
    return error;
}

OSErr FourD::TokenizeProc(char** text, char*** tokens) {
    HostCall call(Select("TokenizeProc"));
    return call.PutAddress(text).SendThen(
        tokens, [&] { *tokens = reinterpret_cast<Handle>(call->param1); });
}

OSErr FourD::TokenizeProcV12(FDStringBlock* text, char*** tokens) {
    if (text == nullptr || tokens == nullptr) {
        return ResultCode::BadParameter;
    }
    *tokens = nullptr;
    EngineCall call(Select("TokenizeProcV12"));
    call->string = *text;
    const OSErr error = call.SendForError();
    if (error == ResultCode::NoError && call->param1 != 0) {
        auto* const hostTokens = reinterpret_cast<Handle>(call->param1);
        const long size = GetHandleSizeV11(hostTokens);
        *tokens = NewHandleClear(size); // null without memory: no error of the host's
        if (*tokens != nullptr) {
            std::copy_n(*hostTokens, size, **tokens);
        }
        DisposeHandleV11(hostTokens);
    }
    return error;
}

OSErr FourD::TokenizeProcV12(char* text, long length, char*** tokens) {
    if (tokens == nullptr) {
        return ResultCode::BadParameter;
    }
    *tokens = nullptr;
    FDStringBlock string{};
    OSErr error = CopyStringBufferToFDString(text, length, &string);
    if (error == ResultCode::NoError) {
        error = TokenizeProcV12(&string, tokens);
        DisposeFDStringBlock(&string);
    }
    return error;
}

OSErr FourD::ExecTokenizedProc(char** tokens) {
    return SendHandle(Select("ExecTokenizedProc"), tokens);
}

OSErr FourD::ExecTokenizedFunc(char** tokens, ValueBlock* value) {
    ClassicCall call(Select("ExecTokenizedFunc"));
    return Evaluate(call, tokens, value);
}

OSErr FourD::ExecTokenizedFuncV12(char** tokens, ValueBlock* value) {
    if (tokens == nullptr || value == nullptr) {
        return ResultCode::BadParameter;
    }
    const Size size = GetHandleSize(tokens);
    const Handle copy = NewHandleV11(size);
    if (copy == nullptr) {
        return ResultCode::MemoryFull;
    }
    std::copy_n(*tokens, size, *copy);
    EngineCall call(Select("ExecTokenizedFunc"));
    const OSErr error = Evaluate(call, copy, value);
    // Deliberate: the host's handle is released with the platform's call, not with the host's.
    DisposeHandle(copy);
    return error;
}

OSErr FourD::DetokenizeProc(char** tokens, char*** text) {
    HostCall call(Select("DetokenizeProc"));
    call.PutNumbers(reinterpret_cast<long>(tokens)).Require(tokens).Require(text);
    OSErr error = call.SendForError();
    auto* const record = reinterpret_cast<TEHandle>(Handle{call->handle});
    if (error != ResultCode::NoError || record == nullptr) {
        return error;
    }
    const Handle characters = (*record)->hText;
    const Size stored = SizeIfThere(characters);
    const Size length = std::clamp(Size{(*record)->teLength}, Size{0}, stored);
    const Handle copy = NewHandle(length);
    if (copy != nullptr) {
        std::copy_n(length > 0 ? *characters : nullptr, length, *copy);
        *text = copy;
    } else {
        error = MemError();
    }
    TEDispose(record);
    return error;
}

OSErr FourD::ByteSwapTokens(char** tokens) {
    return SendHandle(Select("ByteSwapTokens"), tokens);
}

long FourD::GetMethodID(unsigned char* name) {
    return HostCall(Select("MethodID")).PutName(name).SendForNumber();
}

long FourD::GetProcIndex(unsigned char* name) {
    return GetMethodID(name);
}

long FourD::ExecIndProc(long index) {
    return HostCall(Select("ExecIndProc")).PutNumbers(index).Send();
}

OSErr FourD::CallMethodID(long id, long arg, char** params) {
    HostCall call(Select("CallMethodID"));
    call->handle = params;
    return call.PutNumbers(id, arg).SendForError();
}

unsigned char FourD::EditFormula(char*** formula, long table) {
    if (formula == nullptr) {
        return 0;
    }
    TemporaryHandle edited;
    if (*formula != nullptr && CopyHandle(*formula, edited.Address()) != ResultCode::NoError) {
        return 0;
    }
    HostCall call(Select("EditFormula"));
    call->handle = edited.Get();
    call->table = static_cast<short>(table);
    call.Send();
    *edited.Address() = call->handle; // the host may have made it, or put another in its place
    if (call->param1 == 0) {
        return 0;
    }
    if (const OSErr error = CopyHandle(edited.Get(), formula); error != ResultCode::NoError) {
        _DbgTraceV("EditFormula: the new text could not be stored, result %d\n", error);
    }
    return 1; // deliberate: the user did accept
}

long FourD::GetCommandName(short cmd, unsigned char* name) {
    if (name == nullptr) {
        return ResultCode::BadParameter;
    }
    name[0] = 0;
    if (gHost.BcdVersion() <= 0x0800) {
        constexpr short CommandNames = 8; // string list of the host
        GetIndString(name, CommandNames, cmd);
        return ResultCode::NoError;
    }
    HostCall call(Select("CommandName"));
    call->value.small = cmd;
    const long answer = call.Send();
    if (call->error == ResultCode::NoError) {
        call.TakeText(name);
    }
    return answer;
}

long FourD::GetCommandNameC(short cmd, char* name) {
    if (name == nullptr) {
        return ResultCode::BadParameter;
    }
    Str255 string;
    const long answer = GetCommandName(cmd, string);
    _CopyP2CStr(string, name);
    return answer;
}

OSErr GetFSSpecBy4DCommand(short cmd, FSSpec* spec) {
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    ZeroFileSpec(spec);
    return WithTextOfCommand(cmd,
                             [spec](CTextBlock& path) { return CTextBlockToFSSpec(&path, spec); });
}

OSErr GetTextBy4DCommand(short cmd, char* text, long size) {
    if (text == nullptr || size < 1) {
        return ResultCode::BadParameter;
    }
    text[0] = '\0';
    return WithTextOfCommand(cmd, [=](CTextBlock& answer) {
        answer.CopyTo(text, static_cast<short>(std::min(size - 1, long{CTextBlock::MaxLength})));
        return ResultCode::NoError;
    });
}
