#include "data/blocks/Handles.h"
#include "data/blocks/TextBlock.h"
#include "host/boundary/Fields.h"
#include "host/Call.h"
#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"

#include <algorithm>

namespace {

/// A call about a table, or a field of it.
struct TableCall : HostCall {
    TableCall(Selector selector, short table, short field = 0) : HostCall(selector) {
        (*this)->table = table;
        (*this)->field = field;
    }
};

OSErr SendRecordCall(Selector selector, short table, long record, unsigned char a,
                     unsigned char b) {
    TableCall call(selector, table);
    call->recordNumber = record;
    call->flag1 = a;
    call->flag2 = b;
    return call.SendForError();
}

/// A typed value as the field data to send; its handle stays the value's.
/// As many bytes as a handle has, of those that its size claims.
long BytesOf(Handle handle, long size) {
    return std::clamp(size, 0L, std::max(SizeIfThere(handle), 0L));
}

OSErr FieldDataOf(const ValueBlock& value, FieldData* data) {
    *data = {};
    data->type = value.type;
    switch (value.type) {
    case ValueType::Real:
        data->value.real = value.real;
        break;
    case ValueType::Date:
        data->value.date = value.date;
        break;
    case ValueType::Boolean:
        data->value.small = value.boolean;
        break;
    case ValueType::Long:
    case ValueType::Time:
        data->value.number = value.number;
        break;
    case ValueType::String:
        if (value.string.string[0] > LongestAlpha) {
            return ResultCode::BadParameter;
        }
        _CopyPStr(value.string.string, data->text);
        break;
    case ValueType::Text:
        data->handle = value.text.text;
        data->size = value.text.length;
        break;
    case ValueType::Picture:
        if (gHost.HasEngine()) {
            return ResultCode::UnsupportedConversion;
        }
        [[fallthrough]];
    case ValueType::Blob:
        data->handle = value.blob.data;
        data->size = value.blob.size;
        break;
    default:
        return ResultCode::UnsupportedConversion;
    }
    return ResultCode::NoError;
}

/// Field data as a typed value, which takes the handle over.
OSErr ValueOf(const FieldData& data, ValueBlock* value) {
    value->type = static_cast<unsigned char>(data.type);
    switch (data.type) {
    case FieldType::Real:
        value->real = data.value.real;
        break;
    case FieldType::Date:
        value->date = data.value.date;
        break;
    case FieldType::Boolean:
        value->boolean = data.value.small != 0 ? 1 : 0;
        break;
    case FieldType::Integer:
        value->type = ValueType::Long;
        value->number = data.value.small;
        break;
    case FieldType::Long:
    case FieldType::Time:
        value->number = data.value.number;
        break;
    case FieldType::Alpha:
        value->string.capacity = sizeof value->string.string - 1;
        _CopyPStr(data.text, value->string.string);
        break;
    case FieldType::Text:
        value->text = {static_cast<short>(std::clamp(data.size, 0L, long{CTextBlock::MaxLength})),
                       data.handle};
        break;
    case FieldType::Picture:
        if (gHost.HasEngine()) {
            return ResultCode::UnsupportedConversion;
        }
        [[fallthrough]];
    case FieldType::Blob:
        value->blob = {data.size, data.handle};
        break;
    default:
        return ResultCode::UnsupportedConversion;
    }
    return ResultCode::NoError;
}

} // namespace

OSErr FourD::CountFiles(short* count) {
    return TableCall(Select("CountFiles"), 0).SendForNumber(count);
}

OSErr FourD::CountFields(short table, short* count) {
    return TableCall(Select("CountFields"), table).SendForNumber(count);
}

OSErr FourD::GetFieldType(short table, short field, short* type) {
    return TableCall(Select("FieldType"), table, field).SendForNumber(type, short{-1});
}

OSErr FourD::GetFieldInfo(short table, short field, FieldInfo* info) {
    if (info == nullptr) {
        return ResultCode::BadParameter;
    }
    *info = {};
    TableCall properties(Select("FieldType"), table, field);
    TableCall relation(Select("FieldInfo"), table, field);
    const OSErr error = properties.SendThen(info, [&] {
        info->type = static_cast<short>(properties->param1);
        info->length = static_cast<short>(properties->param2);
        info->attributes = properties->param3;
    });
    return error != ResultCode::NoError ? error : relation.SendThen(info, [&] {
        info->relatedTable = static_cast<short>(relation->param1);
        info->relatedField = static_cast<short>(relation->param2);
    });
}

OSErr FourD::GetFileName(short table, unsigned char* name) {
    return TableCall(Select("FileName"), table).SendForName(name);
}

OSErr FourD::GetFileNameC(short table, char* name) {
    if (name == nullptr) {
        return ResultCode::BadParameter;
    }
    Str255 pascalName;
    const OSErr error = GetFileName(table, pascalName);
    _CopyP2CStr(pascalName, name);
    return error;
}

OSErr FourD::GetFileFieldNum(unsigned char* name, short* table, short* field) {
    if (table == nullptr || field == nullptr) {
        return ResultCode::BadParameter;
    }
    *table = *field = 0;
    HostCall call(Select("FileFieldNumbers"));
    return call.PutName(name).SendThen(table, [&] {
        *table = call->table;
        *field = call->field;
    });
}

OSErr FourD::GetFieldData(short table, short field, FieldData* data) {
    if (data == nullptr) {
        return ResultCode::BadParameter;
    }
    *data = {};
    TableCall call(Select("GetFieldData"), table, field);
    const OSErr error = call.SendForError();
    if (error != ResultCode::NoError) {
        return error;
    }
    data->type = static_cast<short>(call->param1);
    data->value = call->value;
    data->handle = call->handle;
    data->size = BytesOf(data->handle, call->param2);
    call.TakeText(data->text);
    return ResultCode::NoError;
}

OSErr FourD::SetFieldData(short table, short field, FieldData* data) {
    if (data == nullptr) {
        return ResultCode::BadParameter;
    }
    TableCall call(Select("SetFieldData"), table, field);
    call->param1 = data->type;
    switch (CarrierOf(data->type)) {
    case FieldCarrier::Real:
        call->value.real = data->value.real;
        break;
    case FieldCarrier::Date:
        call->value.date = data->value.date;
        break;
    case FieldCarrier::Number:
        call->value.number = data->value.number;
        break;
    case FieldCarrier::Small:
        call->value.small = data->value.small;
        break;
    case FieldCarrier::ValueText:
        if (data->text[0] > LongestAlpha) {
            return ResultCode::BadParameter;
        }
        call.PutText(data->text);
        break;
    case FieldCarrier::Bytes:
        call->handle = data->handle;
        call->param2 = BytesOf(data->handle, data->size);
        break;
    case FieldCarrier::None:
        return ResultCode::UnsupportedConversion;
    }
    return call.SendForError();
}

void FourD::DisposeFieldData(FieldData* data) {
    if (data == nullptr) {
        return;
    }
    if (data->handle != nullptr) {
        DisposeHandle(data->handle);
    }
    *data = {};
}

OSErr FourD::GetFieldData(short table, short field, ValueBlock* value) {
    if (value == nullptr) {
        return ResultCode::BadParameter;
    }
    *value = {};
    FieldData data;
    OSErr error = GetFieldData(table, field, &data);
    if (error == ResultCode::NoError) {
        error = ValueOf(data, value);
        if (error != ResultCode::NoError || CarrierOf(data.type) != FieldCarrier::Bytes) {
            DisposeFieldData(&data); // a handle that came with a number, too
        }
    }
    if (error != ResultCode::NoError) {
        value->type = ValueType::Undefined;
    }
    return error;
}

OSErr FourD::SetFieldData(short table, short field, ValueBlock* value) {
    if (value == nullptr) {
        return ResultCode::BadParameter;
    }
    FieldData data;
    const OSErr error = FieldDataOf(*value, &data);
    return error == ResultCode::NoError ? SetFieldData(table, field, &data) : error;
}

OSErr FourD::RecordsInSelection(short table, long* count) {
    return TableCall(Select("RecordsInSelection"), table).SendForNumber(count);
}

OSErr FourD::GotoSelectedRecord(short table, long n, unsigned char a, unsigned char b) {
    // The host counts the places of a selection from 0.
    const auto place = static_cast<long>(static_cast<unsigned long>(n) - 1);
    return SendRecordCall(Select("GotoSelectedRecord"), table, place, a, b);
}

OSErr FourD::GotoRecord(short table, long record, unsigned char a, unsigned char b) {
    return SendRecordCall(Select("GotoRecord"), table, record, a, b);
}

OSErr FourD::RecordNumber(short table, long* record) {
    TableCall call(Select("RecordNumber"), table);
    return call.SendThen(record, -1L, [&] { *record = call->recordNumber; });
}

OSErr FourD::SelectedRecordNumber(short table, long* n) {
    if (n == nullptr) {
        return ResultCode::BadParameter;
    }
    TableCall call(Select("SelectedRecordNumber"), table);
    const OSErr error = call.SendForError();
    *n = call->param1;
    return error;
}

OSErr FourD::NewRecord(short table) {
    return TableCall(Select("NewRecord"), table).SendForError();
}

OSErr FourD::UpdateRecord(short table) {
    return TableCall(Select("UpdateRecord"), table).SendForError();
}

OSErr FourD::GetPackedRecord(short table, char*** record) {
    return TableCall(Select("GetPackedRecord"), table).SendForHandle(record);
}

OSErr FourD::SetPackedRecord(short table, char** record) {
    return TableCall(Select("SetPackedRecord"), table).PutAddress(record).SendForError();
}
