#include "data/blocks/Handles.h"
#include "data/blocks/TextBlock.h"
#include "examples/tour/Tour.h"
#include "host/FourD.h"
#include "host/Value.h"
#include "platform/ResultCodes.h"
#include "shell/base/ExceptionBarrier.h"
#include "shell/base/Format.h"
#include "shell/base/Strings.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <new>

// What Tour has the host do: statements, tables and records, processes, messages.

namespace {

/// A typed value that is freed at the end of the scope.
struct OwnedValue {
    OwnedValue() = default;
    ~OwnedValue() { FreeValueBlock(&block); }
    OwnedValue(const OwnedValue&) = delete;
    OwnedValue& operator=(const OwnedValue&) = delete;

    ValueBlock block{};
};

/// A field, by the name that the host's language gives it: "[Table]Field".
struct FieldReference {
    explicit FieldReference(unsigned char* name)
        : error(FourD::GetFileFieldNum(name, &table, &field)) {}

    short table = 0;
    short field = 0;
    OSErr error;
};

/// Number of the table of this name; 0 when there is none.
short FindTable(const unsigned char* name) {
    short count = 0;
    FourD::CountFiles(&count);
    for (short table = 1; table <= count; ++table) {
        Str255 found;
        FourD::GetFileName(table, found);
        if (_PStringsEqual(found, name)) {
            return table;
        }
    }
    return 0;
}

/// What a worker process is to do. The starter leaves it here, by the process's number.
struct Work {
    long process; ///< 0 where nothing is left to do
    Str255 name;
    long rounds;
};

Work workToDo[8];

Work* FindWork(long process) {
    auto* const found =
        std::find_if(std::begin(workToDo), std::end(workToDo),
                     [process](const Work& work) { return work.process == process; });
    return found != std::end(workToDo) ? found : nullptr;
}

/// Tells the other processes, in an interprocess variable, whose turn it was.
void NoteTurn(const Work& work, long round) {
    ValueBlock turn{};
    turn.type = ValueType::String;
    turn.string.capacity = 255;
    char text[32];
    FormatText(text, sizeof text, ", round %ld", round);
    _CopyPStr(work.name, turn.string.string);
    _CatC2PStr(text, turn.string.string);
    Str255 variable;
    _CopyC2PStr("TourTurn", variable);
    FourD::SetVariableIP(variable, &turn, 0);
}

void DoWork() {
    Work* const found = FindWork(FourD::CurrentProcess());
    if (found == nullptr) {
        return;
    }
    const Work work = *found;
    found->process = 0;
    for (long round = 1; round <= work.rounds && FourD::IsProcessDying() == 0; ++round) {
        NoteTurn(work, round);
        FourD::YieldToOthers();
    }
}

/// Body of a worker process.
HOST_CALL void Worker() {
    KeepExceptionsInside({"worker process"}, DoWork);
}

} // namespace

namespace Tour {

void Evaluate(CXParam* params, CXResult* result) {
    TemporaryHandle source;
    CopyHandle(params[0].GetTextBlockPtr()->text, source.Address());
    TemporaryHandle tokens;
    if (source.Get() == nullptr ||
        FourD::TokenizeProc(source.Get(), tokens.Address()) != ResultCode::NoError) {
        return;
    }
    OwnedValue value;
    value.block.type = ValueType::Undefined; // whatever comes
    if (FourD::ExecTokenizedFunc(tokens.Get(), &value.block) == ResultCode::NoError) {
        Value2Text(&value.block, result->GetTextBlockPtr(), nullptr);
    }
}

void Execute(CXParam* params, CXResult* result) {
    const CTextBlock* const text = params[0].GetCTextBlockPtr();
    const std::unique_ptr<char[]> statement(
        new (std::nothrow) char[static_cast<std::size_t>(text->GetLength()) + 1]);
    if (statement == nullptr) {
        result->SetShort(ResultCode::MemoryFull);
        return;
    }
    text->CopyTo(statement.get());
    result->SetShort(FourD::ExecProc(statement.get()));
}

void SelectAll(CXParam* params, CXResult* result) {
    const short table = FindTable(params[0].GetStringPtr());
    long count = -1;
    if (table != 0 && FourD::AllRecords(table) == ResultCode::NoError) {
        FourD::RecordsInSelection(table, &count);
    }
    result->SetLong(count);
}

void SumField(CXParam* params, CXResult* result) {
    const FieldReference reference(params[0].GetStringPtr());
    REAL_U sum{};
    long count = 0;
    if (reference.error == ResultCode::NoError) {
        FourD::RecordsInSelection(reference.table, &count);
    }
    for (long n = 1; n <= count; ++n) {
        OwnedValue value;
        double number = 0;
        if (FourD::GotoSelectedRecord(reference.table, n, 0, 0) == ResultCode::NoError &&
            FourD::GetFieldData(reference.table, reference.field, &value.block) ==
                ResultCode::NoError &&
            Value2NativeReal(&value.block, &number) == ResultCode::NoError) {
            sum.value += number;
        }
    }
    result->SetExtended(&sum);
}

void ChangeField(CXParam* params, CXResult* result) {
    const FieldReference reference(params[0].GetStringPtr());
    OSErr error = reference.error;
    if (error == ResultCode::NoError) {
        error = FourD::GotoSelectedRecord(reference.table, params[1].GetLong(), 0, 0);
    }
    if (error == ResultCode::NoError) {
        error = FourD::SetFieldData(reference.table, reference.field, params[2].GetVarRecPtr());
    }
    if (error == ResultCode::NoError) {
        error = FourD::UpdateRecord(reference.table);
    }
    result->SetShort(error);
}

void StartWorker(CXParam* params, CXResult* result) {
    constexpr long stackSize = 32 * 1024;
    Work* const work = FindWork(0);
    long process = 0;
    if (work != nullptr) {
        FourD::NewXProcess(reinterpret_cast<char*>(Worker), params[0].GetStringPtr(), stackSize,
                           &process);
        work->process = process;
        work->rounds = params[1].GetLong();
        _CopyPStr(params[0].GetStringPtr(), work->name);
    }
    result->SetLong(process);
}

void Tell(CXParam* params, CXResult*) {
    FourD::AlertV6(params[0].GetStringPtr());
}

void Ask(CXParam* params, CXResult* result) {
    result->SetBoolean(FourD::Confirm(params[0].GetStringPtr()));
}

} // namespace Tour
