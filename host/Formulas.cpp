#include "host/Formulas.h"

#include "data/Handles.h"
#include "data/TextBlock.h"
#include "data/Value.h"
#include "host/FourD.h"
#include "host/HostCall.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/FileSpecs.h"
#include "shell/Strings.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

/// Numbers of the host's commands.
namespace Command {
constexpr short AllRecords = 47;
constexpr short DeleteRecord = 58;
constexpr short RecordsInFile = 83;
constexpr short SequenceNumber = 244;
} // namespace Command

constexpr OSErr NoCommandName = -1;
/// Bytes of the buffers for a table's and a command's name, with the terminator.
constexpr long TableNameCapacity = 32;
constexpr long CommandNameCapacity = 128;

/// One call with a handle, answered by the host's result code.
OSErr SendHandle(Selector selector, char** handle) {
    if (handle == nullptr) {
        return ResultCode::BadParameter;
    }
    HostCall call(selector);
    call->handle = handle;
    call.Send();
    return call->error;
}

OSErr SendText(Selector selector, const char* text, long length) {
    const TemporaryHandle source(text, length);
    return source.Get() != nullptr ? SendHandle(selector, source.Get()) : ResultCode::MemoryFull;
}

/// Has the host evaluate an expression into a value whose type is set.
OSErr EvaluateExpression(Selector selector, const unsigned char* expression, ValueBlock* value) {
    if (expression == nullptr) {
        return ResultCode::BadParameter;
    }
    const TemporaryHandle source(expression + 1, expression[0]);
    if (source.Get() == nullptr) {
        return ResultCode::MemoryFull;
    }
    HostCall call(selector);
    call->handle = source.Get();
    call->param1 = reinterpret_cast<long>(value);
    call.Send();
    return call->error;
}

OSErr EvaluateTokens(HostCall& call, char** tokens, ValueBlock* value) {
    call->handle = tokens;
    call->param1 = reinterpret_cast<long>(value);
    call.Send();
    return call->error;
}

/// Platform handle with the bytes of a host handle; null when memory is full.
Handle CopyOfHostHandle(Handle source) {
    const long size = FourD::GetHandleSizeV11(source);
    const Handle copy = NewHandleClear(size);
    if (copy != nullptr && size > 0) {
        std::memcpy(*copy, *source, static_cast<std::size_t>(size));
    }
    return copy;
}

/// Writes "command([table])" into a buffer of 256 bytes. The table's result code, or -1 when the
/// host does not name the command.
OSErr BuildTableStatement(short command, short table, char* statement) {
    Str255 tableName;
    const OSErr error = FourD::GetFileName(table, tableName);
    if (error != ResultCode::NoError) {
        return error;
    }
    Str255 commandName;
    FourD::GetCommandName(command, commandName);
    if (commandName[0] == 0) {
        return NoCommandName;
    }
    char table32[TableNameCapacity];
    char command128[CommandNameCapacity];
    std::snprintf(table32, sizeof table32, "%.*s", tableName[0],
                  reinterpret_cast<const char*>(tableName + 1));
    std::snprintf(command128, sizeof command128, "%.*s", commandName[0],
                  reinterpret_cast<const char*>(commandName + 1));
    std::snprintf(statement, sizeof(Str255), "%s([%s])", command128, table32);
    return ResultCode::NoError;
}

OSErr ExecuteForTable(short command, short table) {
    char statement[sizeof(Str255)];
    const OSErr error = BuildTableStatement(command, table, statement);
    return error == ResultCode::NoError ? FourD::ExecProc(statement) : error;
}

OSErr EvaluateForTable(short command, short table, long* value) {
    *value = 0;
    char statement[sizeof(Str255)];
    const OSErr error = BuildTableStatement(command, table, statement);
    if (error != ResultCode::NoError) {
        return error;
    }
    Str255 expression;
    _CopyC2PStr(statement, expression);
    REAL_U real{};
    const OSErr result = FourD::ExecFunc(expression, &real);
    *value = REALToLong(real); // whatever the result
    return result;
}

/// The value of a host command as a text that the caller empties.
OSErr TextOfCommand(short command, CTextBlock* text) {
    ValueBlock value{};
    OSErr error = EvaluateCommand(command, &value);
    if (error == ResultCode::NoError) {
        error = static_cast<OSErr>(Value2Text(&value, reinterpret_cast<TextBlock*>(text), nullptr));
    }
    FreeValueBlock(&value);
    return error;
}

/// Empties a text at the end of the scope.
struct TemporaryText {
    TemporaryText() = default;
    ~TemporaryText() { text.SetLength(0); }
    TemporaryText(const TemporaryText&) = delete;
    TemporaryText& operator=(const TemporaryText&) = delete;

    CTextBlock text;
};

} // namespace

OSErr EvaluateCommand(short command, ValueBlock* value) {
    Str255 name;
    FourD::GetCommandName(command, name);
    if (name[0] == 0) {
        return ResultCode::BadParameter;
    }
    const TemporaryHandle source(name + 1, name[0]);
    if (source.Get() == nullptr) {
        return ResultCode::MemoryFull;
    }
    TemporaryHandle tokens;
    const OSErr error = FourD::TokenizeProc(source.Get(), tokens.Address());
    if (error != ResultCode::NoError) {
        return error;
    }
    value->type = ValueType::Undefined;
    return FourD::ExecTokenizedFunc(tokens.Get(), value);
}

OSErr FourD::ExecProc(const char* text) {
    if (text == nullptr) {
        return ResultCode::BadParameter;
    }
    if (!gHost.HasEngine()) {
        return SendText(Select("ExecProc"), text, static_cast<long>(std::strlen(text)));
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
        call.Send();
        error = call->error;
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
    const OSErr error = EvaluateExpression(Select("ExecLongFunc"), expression, &value);
    *result = error == ResultCode::NoError ? value.number : 0;
    return error;
}

OSErr FourD::ExecFunc(unsigned char* expression, REAL_U* result) {
    ValueBlock value{};
    value.type = ValueType::Real;
    const OSErr error = EvaluateExpression(Select("ExecRealFunc"), expression, &value);
    if (error == ResultCode::NoError) {
        *result = value.real;
    }
    return error;
}

OSErr FourD::TokenizeProc(char** text, char*** tokens) {
    if (text == nullptr || tokens == nullptr) {
        return ResultCode::BadParameter;
    }
    HostCall call(Select("TokenizeProc"));
    call->handle = text;
    call.Send();
    if (call->error == ResultCode::NoError) {
        *tokens = reinterpret_cast<Handle>(call->param1);
    }
    return call->error;
}

OSErr FourD::TokenizeProcV12(FDStringBlock* text, char*** tokens) {
    if (text == nullptr || tokens == nullptr) {
        return ResultCode::BadParameter;
    }
    *tokens = nullptr;
    EngineCall call(Select("TokenizeProcV12"));
    call->string = *text;
    call.Send();
    if (call->error == ResultCode::NoError && call->param1 != 0) {
        auto* const hostTokens = reinterpret_cast<Handle>(call->param1);
        *tokens = CopyOfHostHandle(hostTokens); // null without memory: no error of the host's
        DisposeHandleV11(hostTokens);
    }
    return call->error;
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
    if (tokens == nullptr || value == nullptr) {
        return ResultCode::BadParameter;
    }
    ClassicCall call(Select("ExecTokenizedFunc"));
    return EvaluateTokens(call, tokens, value);
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
    const OSErr error = EvaluateTokens(call, copy, value);
    // Deliberate: the host's handle is released with the platform's call, not with the host's.
    DisposeHandle(copy);
    return error;
}

OSErr FourD::DetokenizeProc(char** tokens, char*** text) {
    if (tokens == nullptr || text == nullptr) {
        return ResultCode::BadParameter;
    }
    HostCall call(Select("DetokenizeProc"));
    call->param1 = reinterpret_cast<long>(tokens);
    call.Send();
    OSErr error = call->error;
    auto* const record = reinterpret_cast<TEHandle>(Handle{call->handle});
    if (error != ResultCode::NoError || record == nullptr) {
        return error;
    }
    const Handle characters = (*record)->hText;
    const Size stored = characters != nullptr ? GetHandleSize(characters) : 0;
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
    HostCall call(Select("MethodID"));
    _CopyPStr(name, call->name);
    call.Send();
    return call->param1;
}

long FourD::GetProcIndex(unsigned char* name) {
    return GetMethodID(name);
}

long FourD::ExecIndProc(long index) {
    HostCall call(Select("ExecIndProc"));
    call->param1 = index;
    return call.Send();
}

OSErr FourD::CallMethodID(long id, long arg, char** params) {
    HostCall call(Select("CallMethodID"));
    call->param1 = id;
    call->param2 = arg;
    call->handle = params;
    call.Send();
    return call->error;
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
    call->param1 = 0;
    call.Send();
    *edited.Address() = call->handle; // the host may have made it, or put another in its place
    if (call->param1 == 0) {
        return 0;
    }
    CopyHandle(edited.Get(), formula);
    return 1;
}

long FourD::GetCommandName(short cmd, unsigned char* name) {
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
        unsigned char* const answered = call.ValueText();
        answered[0] = std::min<unsigned char>(answered[0], sizeof(ParameterBlock::valueText) - 1);
        _CopyPStr(answered, name);
    }
    return answer;
}

long FourD::GetCommandNameC(short cmd, char* name) {
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
    TemporaryText path;
    const OSErr error = TextOfCommand(cmd, &path.text);
    return error == ResultCode::NoError ? CTextBlockToFSSpec(&path.text, spec) : error;
}

OSErr GetTextBy4DCommand(short cmd, char* text, long size) {
    if (text == nullptr || size < 1) {
        return ResultCode::BadParameter;
    }
    text[0] = '\0';
    TemporaryText answer;
    const OSErr error = TextOfCommand(cmd, &answer.text);
    if (error == ResultCode::NoError) {
        answer.text.CopyTo(text,
                           static_cast<short>(std::min(size - 1, long{CTextBlock::MaxLength})));
    }
    return error;
}

OSErr FourD::SequenceNumber(short table, long* value) {
    return EvaluateForTable(Command::SequenceNumber, table, value);
}

OSErr FourD::RecordsInFile(short table, long* value) {
    return EvaluateForTable(Command::RecordsInFile, table, value);
}

OSErr FourD::AllRecords(short table) {
    return ExecuteForTable(Command::AllRecords, table);
}

OSErr FourD::DeleteRecord(short table) {
    return ExecuteForTable(Command::DeleteRecord, table);
}
