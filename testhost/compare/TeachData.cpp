#include "platform/ResultCodes.h"
#include "testhost/compare/Teaching.h"
#include "testhost/database/PackedRecord.h"
#include "testhost/values/Scalars.h"

#include <algorithm>
#include <cstddef>
#include <set>

// Variables; tables, their records and the selections of processes.

namespace {
constexpr size_t inHandle = offsetof(CallFields, handle);
constexpr size_t mostValues = 1000000; // of records made up because a recording speaks of them

// --- Variables ----------------------------------------------------------------------------------

std::string SubjectOf(const AskedCall& call, long context) {
    return "variable " + std::to_string(context) + " " + FoldCase(call.sent.Name());
}

bool SetVariable(AskedCall& call, long context) {
    const std::string name = call.sent.Name();
    ValueBlock value{};
    if (call.answer.Fields().error != ResultCode::NoError || !HostVariables::IsName(name) ||
        !call.AnsweredValue(inHandle, value) || call.host.variables.Fault(context, name, value)) {
        return false;
    }
    call.host.variables.Set(context, name, value);
    return true;
}

// --- Records ------------------------------------------------------------------------------------

short TableOf(const AskedCall& call) {
    return call.sent.Fields().table;
}

std::string TableText(const AskedCall& call) {
    return std::to_string(call.Process()) + " " + std::to_string(TableOf(call));
}

RecordValues EmptyRecord(const DatabaseTable& table) {
    RecordValues values;
    for (const DatabaseField& field : table.fields) {
        values.push_back(EmptyFieldValue(field.type));
    }
    return values;
}

size_t ValuesIn(const Database& database) {
    size_t values = 0;
    for (short number = 1; number <= database.TableCount(); ++number) {
        const DatabaseTable& table = *database.Table(number);
        values += table.records.size() * (table.fields.size() + 1);
    }
    return values;
}

// Makes empty records up until the table has had so many.
bool HaveRecords(Database& database, short number, long count) {
    const DatabaseTable* table = database.Table(number);
    if (table == nullptr) {
        return false;
    }
    const long missing = std::max(count - static_cast<long>(table->records.size()), 0L);
    if (static_cast<size_t>(missing) >
        (mostValues - std::min(ValuesIn(database), mostValues)) / (table->fields.size() + 1)) {
        return false;
    }
    while (static_cast<long>(table->records.size()) < count) {
        database.AddRecord(number, EmptyRecord(*table));
    }
    return true;
}

// Selects so many records: those that were selected, and further ones.
bool SelectRecords(AskedCall& call, long count) {
    Database& database = call.host.database;
    std::vector<long> numbers = database.Selection(call.Process(), TableOf(call));
    const bool had = static_cast<long>(numbers.size()) >= count;
    if (count < 0 || (!had && !HaveRecords(database, TableOf(call), count))) {
        return false;
    }
    const std::set<long> selected(numbers.begin(), numbers.end());
    for (long number = 0; static_cast<long>(numbers.size()) < count; ++number) {
        if (!selected.contains(number)) {
            numbers.push_back(number);
        }
    }
    numbers.resize(static_cast<size_t>(count));
    return database.SetSelection(call.Process(), TableOf(call), std::move(numbers)) ==
           DatabaseError::None;
}

bool GoToPlace(AskedCall& call, long place) {
    Database& database = call.host.database;
    if (static_cast<long>(database.Selection(call.Process(), TableOf(call)).size()) <= place &&
        !SelectRecords(call, place + 1)) {
        return false;
    }
    return database.GotoSelectedRecord(call.Process(), TableOf(call), place) == DatabaseError::None;
}

bool HaveCurrentRecord(AskedCall& call) {
    Database& database = call.host.database;
    return database.CurrentRecord(call.Process(), TableOf(call)) != noRecordNumber ||
           database.NewRecord(call.Process(), TableOf(call)) == DatabaseError::None;
}

// The value that a field was answered to have; nothing when it is of another type here.
std::optional<TypedValue> AnsweredField(const AskedCall& call, const DatabaseField& field) {
    const CallFields& answer = call.answer.Fields();
    if (answer.param1 != field.type) {
        return std::nullopt;
    }
    TypedValue value = EmptyFieldValue(field.type);
    switch (CarrierOf(field.type)) {
    case FieldCarrier::Real:
        value.real = answer.value.real.value;
        return value;
    case FieldCarrier::Date:
        value.numbers = {answer.value.date.day, answer.value.date.month, answer.value.date.year};
        return value;
    case FieldCarrier::Number:
        value.numbers = {answer.value.number};
        return value;
    case FieldCarrier::Small:
        value.numbers = {answer.value.small};
        return value;
    case FieldCarrier::ValueText:
        value.texts = {FetchPascal(call.answer.ValueText().data())};
        return value;
    case FieldCarrier::Bytes:
        if (std::string bytes = call.AnsweredBytes(inHandle); !bytes.empty()) {
            value.texts = {std::move(bytes)};
        }
        return value;
    case FieldCarrier::None:
        break;
    }
    return std::nullopt;
}

// Without an error, or with that there is no current record.
bool HasNoRecord(const AskedCall& call) {
    return call.answer.Fields().error == DatabaseError::NoCurrentRecord;
}

bool LoseRecord(AskedCall& call) {
    return call.host.database.SetSelection(call.Process(), TableOf(call), {}) ==
           DatabaseError::None;
}
} // namespace

namespace Teaching {
std::string VariableSubject(const AskedCall& call) {
    return SubjectOf(call, call.Variables());
}

std::string SharedVariableSubject(const AskedCall& call) {
    return SubjectOf(call, HostVariables::interprocess);
}

bool Variable(AskedCall& call) {
    return SetVariable(call, call.Variables());
}

bool SharedVariable(AskedCall& call) {
    return SetVariable(call, HostVariables::interprocess);
}

std::string SelectionSubject(const AskedCall& call) {
    return "selection " + TableText(call);
}

std::string FieldSubject(const AskedCall& call) {
    return "field " + TableText(call) + " " + std::to_string(call.sent.Fields().field);
}

bool SelectedRecords(AskedCall& call) {
    return call.answer.Fields().error == DatabaseError::None &&
           SelectRecords(call, call.answer.Fields().param1);
}

bool SelectedPlace(AskedCall& call) {
    const CallFields& answer = call.answer.Fields();
    return answer.error == DatabaseError::None && answer.param1 > 0 &&
           GoToPlace(call, answer.param1 - 1);
}

bool CurrentRecord(AskedCall& call) {
    Database& database = call.host.database;
    const long number = call.answer.Fields().recordNumber;
    if (HasNoRecord(call) || number == noRecordNumber) {
        return LoseRecord(call);
    }
    if (number == newRecordNumber) {
        return database.NewRecord(call.Process(), TableOf(call)) == DatabaseError::None;
    }
    return number >= 0 && HaveRecords(database, TableOf(call), number + 1) &&
           database.GotoRecord(call.Process(), TableOf(call), number) == DatabaseError::None;
}

// A record that was found is there.
bool RecordToGoTo(AskedCall& call) {
    const long number = call.sent.Fields().recordNumber;
    const DatabaseTable* table = call.host.database.Table(TableOf(call));
    if (call.end == nullptr || call.answer.Fields().error != DatabaseError::None ||
        table == nullptr || number < 0 || static_cast<long>(table->records.size()) > number) {
        return false;
    }
    return HaveRecords(call.host.database, TableOf(call), number + 1);
}

bool PlaceToGoTo(AskedCall& call) {
    const long place = call.sent.Fields().recordNumber;
    const auto count =
        static_cast<long>(call.host.database.Selection(call.Process(), TableOf(call)).size());
    if (call.end == nullptr || call.answer.Fields().error != DatabaseError::None || place < count) {
        return false;
    }
    return SelectRecords(call, place + 1);
}

bool FieldData(AskedCall& call) {
    if (HasNoRecord(call)) {
        return LoseRecord(call);
    }
    const short number = call.sent.Fields().field;
    const DatabaseField* field = call.host.database.Field(TableOf(call), number);
    if (call.answer.Fields().error != DatabaseError::None || field == nullptr ||
        !HaveCurrentRecord(call)) {
        return false;
    }
    const std::optional<TypedValue> value = AnsweredField(call, *field);
    return value && call.host.database.WriteField(call.Process(), TableOf(call), number, *value) ==
                        DatabaseError::None;
}

bool PackedRecord(AskedCall& call) {
    if (HasNoRecord(call)) {
        return LoseRecord(call);
    }
    const DatabaseTable* table = call.host.database.Table(TableOf(call));
    if (call.answer.Fields().error != DatabaseError::None || table == nullptr ||
        !HaveCurrentRecord(call)) {
        return false;
    }
    const auto values = UnpackRecord(TableOf(call), *table, call.AnsweredBytes(inHandle));
    return values && call.host.database.SetCurrentValues(call.Process(), TableOf(call), *values) ==
                         DatabaseError::None;
}

// Other records decide whether a value is taken.
bool RefusedRecord(AskedCall& call) {
    const short error = call.answer.Fields().error;
    if (error != DatabaseError::DuplicateValue) {
        return false;
    }
    call.host.FailNext("UpdateRecord", error);
    return true;
}
} // namespace Teaching
