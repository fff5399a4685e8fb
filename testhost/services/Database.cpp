#include "platform/ResultCodes.h"
#include "testhost/database/PackedRecord.h"
#include "testhost/services/Service.h"
#include "testhost/values/Scalars.h"

#include <algorithm>
#include <cstring>

namespace {
// The table that a call names; null, with the error set, when there is none.
const DatabaseTable* TableOf(ServiceCall& call) {
    const DatabaseTable* table = call.host.database.Table(call.fields.table);
    if (table == nullptr) {
        call.fields.error = DatabaseError::UnknownTable;
    }
    return table;
}

// The field that a call names, in the same way.
const DatabaseField* FieldOf(ServiceCall& call) {
    if (TableOf(call) == nullptr) {
        return nullptr;
    }
    const DatabaseField* field = call.host.database.Field(call.fields.table, call.fields.field);
    if (field == nullptr) {
        call.fields.error = DatabaseError::UnknownField;
    }
    return field;
}

// Serves what the database itself does with a table for the calling process.
template <short (Database::*Operation)(long process, short table)>
void OnTable(ServiceCall& call) {
    call.fields.error =
        (call.host.database.*Operation)(call.host.currentProcess, call.fields.table);
}

// The same with a record number or a place. Who else may use the record, and how it is to be
// loaded, is in the flags: records are never locked here.
template <short (Database::*Operation)(long process, short table, long number)>
void OnRecord(ServiceCall& call) {
    call.fields.error = (call.host.database.*Operation)(call.host.currentProcess, call.fields.table,
                                                        call.fields.recordNumber);
}

void CountFields(ServiceCall& call) {
    if (const DatabaseTable* table = TableOf(call)) {
        call.fields.param1 = static_cast<long>(table->fields.size());
    }
}

void FileName(ServiceCall& call) {
    if (const DatabaseTable* table = TableOf(call)) {
        StorePascal(call.fields.name, table->name);
    }
}

void FieldTypeAndAttributes(ServiceCall& call) {
    if (const DatabaseField* field = FieldOf(call)) {
        call.fields.param1 = field->type;
        call.fields.param2 = field->length;
        call.fields.param3 = field->attributes;
    }
}

void FieldRelation(ServiceCall& call) {
    if (const DatabaseField* field = FieldOf(call)) {
        call.fields.param1 = field->relatedTable;
        call.fields.param2 = field->relatedField;
    }
}

void FileFieldNumbers(ServiceCall& call) {
    const auto* name = reinterpret_cast<const char*>(call.fields.name);
    const auto [table, field] = call.host.database.FindReference({name + 1, call.fields.name[0]});
    call.fields.table = table;
    call.fields.field = field;
    if (table == 0) {
        call.fields.error = DatabaseError::UnknownField;
    }
}

void RecordsInSelection(ServiceCall& call) {
    if (TableOf(call) != nullptr) {
        call.fields.param1 = static_cast<long>(
            call.host.database.Selection(call.host.currentProcess, call.fields.table).size());
    }
}

// From 1; 0 when the current record is not in the selection.
void SelectedRecordNumber(ServiceCall& call) {
    if (TableOf(call) != nullptr) {
        call.fields.param1 =
            call.host.database.CurrentPlace(call.host.currentProcess, call.fields.table) + 1;
    }
}

void CurrentRecordNumber(ServiceCall& call) {
    if (TableOf(call) == nullptr) {
        return;
    }
    call.fields.recordNumber =
        call.host.database.CurrentRecord(call.host.currentProcess, call.fields.table);
    if (call.fields.recordNumber == noRecordNumber) {
        call.fields.error = DatabaseError::NoCurrentRecord;
    }
}

// The bytes of a value in a handle of their own; null when it has none.
void AnswerBytes(ServiceCall& call, const std::vector<std::string>& texts) {
    if (texts.empty() || texts[0].empty()) {
        return;
    }
    call.fields.handle = NewHandleWith(texts[0]);
    call.fields.param2 = static_cast<long>(texts[0].size());
    if (call.fields.handle == nullptr) {
        call.fields.param2 = 0;
        call.fields.error = ResultCode::MemoryFull;
    }
}

void AnswerFieldValue(ServiceCall& call, FieldCarrier carrier, const TypedValue& value) {
    ValueFields& area = call.fields.value;
    switch (carrier) {
    case FieldCarrier::Real:
        area.real.value = value.real;
        break;
    case FieldCarrier::Date:
        area.date = {static_cast<short>(value.numbers.at(0)),
                     static_cast<short>(value.numbers.at(1)),
                     static_cast<short>(value.numbers.at(2))};
        break;
    case FieldCarrier::Number:
        area.number = value.numbers.at(0);
        break;
    case FieldCarrier::Small:
        area.small = static_cast<short>(value.numbers.at(0));
        break;
    case FieldCarrier::ValueText:
        StorePascal(call.valueText, value.texts.at(0));
        break;
    case FieldCarrier::Bytes:
        AnswerBytes(call, value.texts);
        break;
    case FieldCarrier::None:
        break;
    }
}

void GetFieldData(ServiceCall& call) {
    TypedValue value;
    call.fields.error = call.host.database.ReadField(call.host.currentProcess, call.fields.table,
                                                     call.fields.field, value);
    if (call.fields.error == ResultCode::NoError) {
        const short type = call.host.database.Field(call.fields.table, call.fields.field)->type;
        call.fields.param1 = type;
        AnswerFieldValue(call, CarrierOf(type), value);
    }
}

// As many bytes of the handle as param2 says and there are.
std::string BytesSent(const CallFields& fields) {
    const std::string bytes = HandleContents(fields.handle);
    return bytes.substr(0, static_cast<size_t>(std::max(fields.param2, 0L)));
}

TypedValue FieldValueSent(const ServiceCall& call, short type) {
    const ValueFields& area = call.fields.value;
    TypedValue value = EmptyFieldValue(type);
    switch (CarrierOf(type)) {
    case FieldCarrier::Real:
        value.real = area.real.value;
        break;
    case FieldCarrier::Date:
        value.numbers = {area.date.day, area.date.month, area.date.year};
        break;
    case FieldCarrier::Number:
        value.numbers = {area.number};
        break;
    case FieldCarrier::Small:
        value.numbers = {area.small};
        break;
    case FieldCarrier::ValueText: {
        const size_t length = std::min<size_t>(call.valueText[0], call.valueText.size() - 1);
        value.texts = {{reinterpret_cast<const char*>(&call.valueText[1]), length}};
        break;
    }
    case FieldCarrier::Bytes:
        if (std::string bytes = BytesSent(call.fields); !bytes.empty()) {
            value.texts = {std::move(bytes)};
        }
        break;
    case FieldCarrier::None:
        break;
    }
    return value;
}

void SetFieldData(ServiceCall& call) {
    const auto type = static_cast<short>(call.fields.param1);
    if (type != call.fields.param1 || CarrierOf(type) == FieldCarrier::None) {
        call.host.Report("selector 18 (SetFieldData): " + std::to_string(call.fields.param1) +
                         " in param1 is not the type of a field.");
        call.fields.error = DatabaseError::WrongType;
        return;
    }
    call.fields.error = call.host.database.WriteField(
        call.host.currentProcess, call.fields.table, call.fields.field, FieldValueSent(call, type));
}

void GetPackedRecord(ServiceCall& call) {
    const DatabaseTable* table = TableOf(call);
    if (table == nullptr) {
        return;
    }
    const RecordValues* values =
        call.host.database.CurrentValues(call.host.currentProcess, call.fields.table);
    if (values == nullptr) {
        call.fields.error = DatabaseError::NoCurrentRecord;
        return;
    }
    call.fields.handle = NewHandleWith(PackRecord(call.fields.table, *table, *values));
    call.fields.error =
        call.fields.handle != nullptr ? ResultCode::NoError : ResultCode::MemoryFull;
}

void SetPackedRecord(ServiceCall& call) {
    const DatabaseTable* table = TableOf(call);
    if (table == nullptr) {
        return;
    }
    const std::optional<RecordValues> values =
        UnpackRecord(call.fields.table, *table, HandleContents(call.fields.handle));
    call.fields.error = values ? call.host.database.SetCurrentValues(call.host.currentProcess,
                                                                     call.fields.table, *values)
                               : short{DatabaseError::BadPackedRecord};
}
} // namespace

std::span<const Service> DatabaseServices() {
    using namespace RecordField;
    static constexpr Service services[] = {
        {Select("NewRecord"), Table, OnTable<&Database::NewRecord>},
        {Select("UpdateRecord"), Table, OnTable<&Database::SaveRecord>},
        {Select("GotoSelectedRecord"), Table | RecordField::RecordNumber | Flag1 | Flag2,
         OnRecord<&Database::GotoSelectedRecord>},
        {Select("GotoRecord"), Table | RecordField::RecordNumber | Flag1 | Flag2,
         OnRecord<&Database::GotoRecord>},
        {Select("RecordsInSelection"), Table, RecordsInSelection},
        {Select("SelectedRecordNumber"), Table, SelectedRecordNumber},
        {Select("RecordNumber"), Table, CurrentRecordNumber},
        {Select("CountFiles"), None,
         [](ServiceCall& call) { call.fields.param1 = call.host.database.TableCount(); }},
        {Select("CountFields"), Table, CountFields},
        {Select("FileName"), Table, FileName},
        {Select("FieldType"), Table | Field, FieldTypeAndAttributes},
        {Select("FieldInfo"), Table | Field, FieldRelation},
        {Select("FileFieldNumbers"), Name, FileFieldNumbers},
        {Select("GetFieldData"), Table | Field, GetFieldData},
        {Select("SetFieldData"),
         Table | Field | Param1 | Param2 | ValueReal | ValueDate | ValueNumber | ValueSmall |
             ValueText | RecordField::Handle,
         SetFieldData},
        {Select("GetPackedRecord"), Table, GetPackedRecord},
        {Select("SetPackedRecord"), Table | RecordField::Handle, SetPackedRecord},
    };
    return services;
}
