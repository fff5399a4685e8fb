// Statements, expressions and methods: what the host does with text and tokens of its language,
// the names of its commands, and its boxes.

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/language/Commands.h"
#include "testhost/language/Failure.h"
#include "testhost/language/Lexer.h"
#include "testhost/language/Values.h"
#include "testhost/services/Service.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/Storage.h"

#include <algorithm>
#include <cstring>

namespace {
// Serves a call that may end in a LanguageFailure, whose code is then the answer.
template <void (*serve)(ServiceCall&)>
void Guarded(ServiceCall& call) {
    try {
        serve(call);
    } catch (const LanguageFailure& failure) {
        call.fields.error = failure.code;
        call.remark = failure.what();
    }
}

[[noreturn]] void FailMemory() {
    throw LanguageFailure(ResultCode::MemoryFull, "memory is full");
}

// --- What calls bring along -----------------------------------------------------------------

// The bytes of a toolbox handle; the toolbox has complained of one that is none.
std::string TakeBytes(Handle handle) {
    std::string bytes = HandleContents(handle);
    if (handle == nullptr || MemError() != ResultCode::NoError) {
        throw LanguageFailure(ResultCode::BadParameter, "a handle is missing or is no handle");
    }
    return bytes;
}

std::string TakeHostString(const ServiceCall& call) {
    const FDStringBlock block = call.engine->string;
    const bool isEmpty = block.length == 0 && block.units == nullptr;
    std::string text = call.host.strings.Text(block); // reports a bad one
    if (!isEmpty && !call.host.strings.IsLive(block)) {
        throw LanguageFailure(ResultCode::BadParameter, "the host string is none");
    }
    return text;
}

// Tokens of an engine call are in a host handle. The framework releases it with the toolbox's call,
// as it always did, others with the host's: either side may work on it from now on.
void ReceiveTokens(ServiceCall& call) {
    if (call.IsEngine()) {
        ToolboxShareHostHandle(call.fields.handle);
    }
}

std::string TakeHostTokens(Handle handle) {
    const auto size = static_cast<size_t>(ToolboxHostHandleSize(handle));
    return size > 0 ? std::string(*handle, size) : std::string();
}

std::string PascalText(const unsigned char* text) {
    return {reinterpret_cast<const char*>(text + 1), text[0]};
}

// --- What calls answer ----------------------------------------------------------------------

// Puts a value into the caller's block: as it is when the block is set to undefined, else as one of
// the block's type. What it holds becomes the caller's, except that the handles of a pointer or
// array, which nobody frees a value block of, stay the host's.
void Answer(const ServiceCall& call, const TypedValue& value, ValueBlock* target) {
    if (target == nullptr) {
        throw LanguageFailure(ResultCode::BadParameter, "there is no value block for the result");
    }
    TypedValue answer = value.kind == ValueKind::None ? EmptyValue(ValueKind::Undefined) : value;
    if (target->type != ValueType::Undefined) {
        answer = ConvertValue(answer, BlockKind(target->type));
    }
    *target = MakeBlock(call.host, answer);
    const ValueLayout& layout = call.host.variables.layout;
    if (IsArray(answer.kind) || answer.kind == ValueKind::Pointer) {
        return call.host.variables.Lend(*target);
    }
    const BlockParts parts = PartsOf(*target, layout);
    for (const FDStringBlock& string : parts.strings) {
        layout.strings->SetOwner(string, Owner::Plugin);
    }
    for (const FDPictureBlock* picture : parts.pictures) {
        layout.pictures->SetOwner(picture, Owner::Plugin);
    }
}

ValueBlock* BlockAt(long address) {
    return reinterpret_cast<ValueBlock*>(address);
}

// --- The work -------------------------------------------------------------------------------

void ExecuteText(Host& host, const std::string& text) {
    Evaluator(host, RunCommand).Execute(ParseStatements(TokensOfText(host, text)));
}

// Compiled text has to be statements, of which an expression is one.
std::string Compile(const Host& host, const std::string& text) {
    const std::vector<Token> tokens = TokensOfText(host, text);
    ParseStatements(tokens);
    return EncodeTokens(tokens);
}

void ExecProc(ServiceCall& call) {
    ExecuteText(call.host, call.IsEngine() ? TakeHostString(call) : TakeBytes(call.fields.handle));
}

// An expression's value into the block at param1, which is set to the type that it is to have.
template <unsigned char type>
void ExecFunc(ServiceCall& call) {
    ValueBlock* block = BlockAt(call.fields.param1);
    if (block != nullptr && block->type != type) {
        call.host.Report("An expression was to be evaluated into a value block of another type "
                         "than the call has.");
    }
    const std::string text = TakeBytes(call.fields.handle);
    Answer(
        call,
        Evaluator(call.host, RunCommand).Evaluate(ParseExpression(TokensOfText(call.host, text))),
        block);
}

// The tokens, in param1, become the plug-in's: a toolbox handle.
void Tokenize(ServiceCall& call) {
    const Handle tokens = NewHandleWith(Compile(call.host, TakeBytes(call.fields.handle)));
    if (tokens == nullptr) {
        FailMemory();
    }
    call.fields.param1 = reinterpret_cast<long>(tokens);
}

// The same from a host string, into a handle of the host's.
void TokenizeUnicode(ServiceCall& call) {
    const std::string bytes = Compile(call.host, TakeHostString(call));
    const Handle tokens = ToolboxNewHostHandle(static_cast<Size>(bytes.size()));
    if (tokens == nullptr) {
        FailMemory();
    }
    std::copy(bytes.begin(), bytes.end(), *tokens);
    call.fields.param1 = reinterpret_cast<long>(tokens);
}

void ExecTokenizedProc(ServiceCall& call) {
    Evaluator(call.host, RunCommand)
        .Execute(ParseStatements(DecodeTokens(TakeBytes(call.fields.handle))));
}

void ExecTokenizedFunc(ServiceCall& call) {
    const Handle handle = call.fields.handle;
    const std::string bytes = call.IsEngine() ? TakeHostTokens(handle) : TakeBytes(handle);
    const Expression expression = ParseExpression(DecodeTokens(bytes));
    Answer(call, Evaluator(call.host, RunCommand).Evaluate(expression),
           BlockAt(call.fields.param1));
}

// A text-edit record of the tokens in param1; the plug-in disposes of it with TEDispose.
void Detokenize(ServiceCall& call) {
    const std::string bytes = TakeBytes(reinterpret_cast<Handle>(call.fields.param1));
    std::string text = TextOfTokens(call.host, DecodeTokens(bytes));
    text.resize(std::min(text.size(), longestText));
    const Handle characters = NewHandleWith(text);
    auto* const record = reinterpret_cast<TEHandle>(NewHandleClear(sizeof(TERec)));
    if (characters == nullptr || record == nullptr) {
        for (const Handle made : {characters, reinterpret_cast<Handle>(record)}) {
            if (made != nullptr) {
                DisposeHandle(made);
            }
        }
        FailMemory();
    }
    (*record)->teLength = static_cast<short>(text.size());
    (*record)->hText = characters;
    call.fields.handle = reinterpret_cast<Handle>(record);
}

// In place: the stream is as long in either order.
void ByteSwap(ServiceCall& call) {
    const std::string swapped = SwapTokens(TakeBytes(call.fields.handle));
    std::copy(swapped.begin(), swapped.end(), *call.fields.handle);
}

// --- Methods and formulas -------------------------------------------------------------------

void MethodID(ServiceCall& call) {
    const std::string name = PascalText(call.fields.name);
    call.fields.param1 = call.host.language.FindMethod(name);
    if (call.fields.param1 == 0) {
        FailUnknown("method " + name);
    }
}

void ExecIndProc(ServiceCall& call) {
    Evaluator(call.host, RunCommand).CallMethod(call.fields.param1, {});
}

// The number in param2 is the method's $1; the bytes in `handle`, if any, are its text $2.
void CallMethod(ServiceCall& call) {
    std::vector<TypedValue> arguments = {LongValue(call.fields.param2)};
    if (call.fields.handle != nullptr) {
        arguments.push_back(TextValue(TakeBytes(call.fields.handle)));
    }
    Evaluator(call.host, RunCommand).CallMethod(call.fields.param1, std::move(arguments));
}

// The text in `handle`, null for an empty one, is changed in place or made; param1 answers whether
// the user accepted it.
void EditFormula(ServiceCall& call) {
    if (call.fields.table != 0 && call.host.database.Table(call.fields.table) == nullptr) {
        throw LanguageFailure(LanguageError::UnknownName, "a formula is edited for no table");
    }
    std::deque<std::optional<std::string>>& entries = call.host.language.formulaEntries;
    if (entries.empty()) {
        return;
    }
    const std::optional<std::string> entry = entries.front();
    entries.pop_front();
    if (!entry) {
        return;
    }
    if (call.fields.handle == nullptr) {
        call.fields.handle = NewHandle(0);
    }
    SetHandleSize(call.fields.handle, static_cast<Size>(entry->size()));
    if (MemError() != ResultCode::NoError) {
        FailMemory();
    }
    std::copy(entry->begin(), entry->end(), *call.fields.handle);
    call.fields.param1 = 1;
}

// --- Names and boxes ------------------------------------------------------------------------

void CommandName(ServiceCall& call) {
    if (call.host.options.version <= 0x0800) {
        call.host.Report("selector -507 (CommandName) is no call of a host before 8.1.");
        call.fields.error = notImplemented;
        return;
    }
    const std::string_view name = call.host.language.CommandName(call.fields.value.small);
    if (name.empty()) {
        throw LanguageFailure(LanguageError::UnknownName, "there is no such command");
    }
    StorePascal(call.valueText, name);
}

// The message is a Pascal string at the address in param1, on newer hosts in uniName.
long ShowBox(const ServiceCall& call, HostBox::Kind kind) {
    if (call.IsEngine()) {
        return call.host.boxes.Show(kind, AnsiText(call.engine->uniName));
    }
    const auto* message = reinterpret_cast<const unsigned char*>(call.fields.param1);
    if (message == nullptr) {
        throw LanguageFailure(ResultCode::BadParameter, "a box came without a message");
    }
    return call.host.boxes.Show(kind, PascalText(message));
}

void Alert(ServiceCall& call) {
    ShowBox(call, HostBox::Kind::Alert);
}

void Confirm(ServiceCall& call) {
    call.fields.param2 = ShowBox(call, HostBox::Kind::Confirm);
}
} // namespace

std::span<const Service> LanguageServices() {
    static constexpr Service services[] = {
        {Select("ExecProc"), RecordField::None, Guarded<ExecProc>, RecordField::HostString,
         RecordField::Handle},
        {Select("ExecLongFunc"), RecordField::Handle | RecordField::Param1,
         Guarded<ExecFunc<ValueType::Long>>},
        {Select("ExecRealFunc"), RecordField::Handle | RecordField::Param1,
         Guarded<ExecFunc<ValueType::Real>>},
        {Select("TokenizeProc"), RecordField::Handle, Guarded<Tokenize>},
        {Select("TokenizeProcV12"), RecordField::HostString, Guarded<TokenizeUnicode>},
        {Select("ExecTokenizedProc"), RecordField::Handle, Guarded<ExecTokenizedProc>},
        {Select("ExecTokenizedFunc"), RecordField::Handle | RecordField::Param1,
         Guarded<ExecTokenizedFunc>, RecordField::None, RecordField::None, ReceiveTokens},
        {Select("DetokenizeProc"), RecordField::Param1, Guarded<Detokenize>},
        {Select("ByteSwapTokens"), RecordField::Handle, Guarded<ByteSwap>},
        {Select("MethodID"), RecordField::Name, Guarded<MethodID>},
        {Select("ExecIndProc"), RecordField::Param1, Guarded<ExecIndProc>},
        {Select("CallMethodID"), RecordField::Param1 | RecordField::Param2 | RecordField::Handle,
         Guarded<CallMethod>},
        {Select("EditFormula"), RecordField::Handle | RecordField::Table, Guarded<EditFormula>},
        {Select("CommandName"), RecordField::ValueSmall, Guarded<CommandName>},
        {Select("Alert"), RecordField::None, Guarded<Alert>, RecordField::UniName,
         RecordField::Param1},
        {Select("Confirm"), RecordField::None, Guarded<Confirm>, RecordField::UniName,
         RecordField::Param1},
    };
    return services;
}
