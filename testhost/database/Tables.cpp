#include "testhost/database/Tables.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <windows.h>

namespace {
// Number of the named element, from 1; 0 when there is none.
template <typename Named>
short FindByName(const std::vector<Named>& all, std::string_view name) {
    auto found =
        std::ranges::find_if(all, [&](const Named& one) { return SameText(one.name, name); });
    return found == all.end() ? short{0} : static_cast<short>(found - all.begin() + 1);
}

template <typename T>
const T* At(const std::vector<T>& all, short number) {
    return number >= 1 && static_cast<size_t>(number) <= all.size()
               ? &all[static_cast<size_t>(number) - 1]
               : nullptr;
}

bool IsText(ValueKind kind) {
    return kind == ValueKind::String || kind == ValueKind::Text;
}

// The number in a value of one of the kinds that numbers have.
std::optional<double> NumberOf(const TypedValue& value) {
    switch (value.kind) {
    case ValueKind::Real:
    case ValueKind::Extended:
        return value.real;
    case ValueKind::Short:
    case ValueKind::Long:
    case ValueKind::Boolean:
    case ValueKind::Time:
        return value.numbers.at(0);
    default:
        return std::nullopt;
    }
}

std::optional<TypedValue> ConvertNumber(ValueKind kind, double number) {
    if (kind == ValueKind::Real) {
        return RealValue(number);
    }
    if (kind == ValueKind::Boolean) {
        return BooleanValue(number != 0);
    }
    const bool isShort = kind == ValueKind::Short;
    const double lowest = isShort ? -0x8000 : std::numeric_limits<long>::min();
    const double highest = isShort ? 0x7FFF : std::numeric_limits<long>::max();
    const double whole = std::trunc(number);
    if (!(whole >= lowest && whole <= highest)) { // also what is no number
        return std::nullopt;
    }
    return TypedValue{.kind = kind, .numbers = {static_cast<long>(whole)}};
}

// The value as a text that equal values of one kind share.
std::string KeyOf(const TypedValue& value) {
    std::string key;
    const auto append = [&](auto number) {
        key.append(reinterpret_cast<const char*>(&number), sizeof number);
    };
    append(value.real + 0.0); // makes one of the two zeros
    std::ranges::for_each(value.numbers, append);
    for (const std::string& text : value.texts) {
        key += "t" + text; // one text at most: a null handle is not an empty one
    }
    return key;
}

bool FitsFields(const DatabaseTable& table, const RecordValues& values) {
    return std::ranges::equal(
        table.fields, values, [](const DatabaseField& field, const TypedValue& value) {
            const std::optional<TypedValue> kept = ConvertToField(field, value);
            return kept && kept->kind == value.kind;
        });
}
} // namespace

bool SameText(std::string_view first, std::string_view second) {
    return CompareStringA(LOCALE_INVARIANT, NORM_IGNORECASE, first.data(),
                          static_cast<int>(first.size()), second.data(),
                          static_cast<int>(second.size())) == CSTR_EQUAL;
}

ValueKind KindOfField(short fieldType) {
    switch (fieldType) {
    case FieldType::Real:
        return ValueKind::Real;
    case FieldType::Text:
        return ValueKind::Text;
    case FieldType::Date:
        return ValueKind::Date;
    case FieldType::Boolean:
        return ValueKind::Boolean;
    case FieldType::Integer:
        return ValueKind::Short;
    case FieldType::Long:
        return ValueKind::Long;
    case FieldType::Picture:
        return ValueKind::Picture;
    case FieldType::Time:
        return ValueKind::Time;
    case FieldType::Alpha:
        return ValueKind::String;
    case FieldType::Blob:
        return ValueKind::Blob;
    default:
        return ValueKind::None;
    }
}

TypedValue EmptyFieldValue(short fieldType) {
    const ValueKind kind = KindOfField(fieldType);
    switch (kind) {
    case ValueKind::Real:
    case ValueKind::Picture:
    case ValueKind::Blob:
        return {.kind = kind};
    case ValueKind::String:
    case ValueKind::Text:
        return {.kind = kind, .texts = {""}};
    case ValueKind::Date:
        return DateValue(0, 0, 0);
    default:
        return {.kind = kind, .numbers = {0}};
    }
}

std::optional<TypedValue> ConvertToField(const DatabaseField& field, const TypedValue& value) {
    const ValueKind kind = KindOfField(field.type);
    if (value.kind == ValueKind::Value && !value.inner.empty()) {
        return ConvertToField(field, value.inner[0]);
    }
    if (IsText(kind)) {
        const size_t longest =
            kind == ValueKind::Text ? longestText : static_cast<size_t>(field.length);
        if (!IsText(value.kind) || value.texts.empty() || value.texts[0].size() > longest) {
            return std::nullopt;
        }
        return TypedValue{.kind = kind, .texts = value.texts};
    }
    if (NumberOf(EmptyFieldValue(field.type))) {
        const std::optional<double> number = NumberOf(value);
        return number ? ConvertNumber(kind, *number) : std::nullopt;
    }
    return kind == value.kind ? std::optional(value) : std::nullopt;
}

// --- Structure ------------------------------------------------------------------------------

short Database::AddTable(std::string name) {
    if (TableCount() == mostTables) {
        return 0;
    }
    tables.push_back({.name = std::move(name), .fields = {}, .records = {}});
    return TableCount();
}

short Database::AddField(short table, DatabaseField field) {
    DatabaseTable* found = MutableTable(table);
    if (found == nullptr || found->fields.size() == mostFields) {
        return 0;
    }
    // Records that are there already get an empty value.
    for (std::optional<RecordValues>& record : found->records) {
        if (record) {
            record->push_back(EmptyFieldValue(field.type));
        }
    }
    for (auto& [key, state] : states) {
        if (key.second == table && state.number != noRecordNumber) {
            state.values.push_back(EmptyFieldValue(field.type));
        }
    }
    found->fields.push_back(std::move(field));
    const auto number = static_cast<short>(found->fields.size());
    if ((found->fields.back().attributes & FieldAttribute::Unique) != 0) {
        UniqueIndex& index = indexes[{table, number}];
        for (size_t place = 0; place < found->records.size(); ++place) {
            if (found->records[place]) {
                index.emplace(KeyOf(found->records[place]->back()), static_cast<long>(place));
            }
        }
    }
    return number;
}

void Database::Relate(short table, short field, short toTable, short toField) {
    if (auto* related = const_cast<DatabaseField*>(Field(table, field))) {
        related->relatedTable = toTable;
        related->relatedField = toField;
    }
}

short Database::FindTable(std::string_view name) const {
    return FindByName(tables, name);
}

short Database::FindField(short table, std::string_view name) const {
    const DatabaseTable* found = Table(table);
    return found == nullptr ? short{0} : FindByName(found->fields, name);
}

std::pair<short, short> Database::FindReference(std::string_view reference) const {
    if (!reference.starts_with('[')) {
        for (short table = 1; table <= TableCount(); ++table) {
            if (short field = FindField(table, reference); field != 0) {
                return {table, field};
            }
        }
        return {};
    }
    const size_t end = reference.find(']');
    if (end == std::string_view::npos) {
        return {};
    }
    const short table = FindTable(reference.substr(1, end - 1));
    const std::string_view name = reference.substr(end + 1);
    const short field = FindField(table, name);
    return field == 0 && !name.empty() ? std::pair<short, short>{} : std::pair{table, field};
}

const DatabaseTable* Database::Table(short number) const {
    return At(tables, number);
}

const DatabaseField* Database::Field(short table, short field) const {
    const DatabaseTable* found = Table(table);
    return found == nullptr ? nullptr : At(found->fields, field);
}

DatabaseTable* Database::MutableTable(short number) {
    return const_cast<DatabaseTable*>(Table(number));
}

// --- Records of a table ---------------------------------------------------------------------

void Database::Index(short table, long number, const RecordValues& values) {
    for (auto index = indexes.lower_bound({table, 0});
         index != indexes.end() && index->first.first == table; ++index) {
        const auto place = static_cast<size_t>(index->first.second) - 1;
        index->second.emplace(KeyOf(values[place]), number);
    }
}

void Database::Unindex(short table, long number, const RecordValues& values) {
    for (auto index = indexes.lower_bound({table, 0});
         index != indexes.end() && index->first.first == table; ++index) {
        const auto place = static_cast<size_t>(index->first.second) - 1;
        const auto [begin, end] = index->second.equal_range(KeyOf(values[place]));
        const auto entry =
            std::find_if(begin, end, [=](const auto& each) { return each.second == number; });
        if (entry != end) {
            index->second.erase(entry);
        }
    }
}

long Database::AddRecord(short table, RecordValues values) {
    DatabaseTable* found = MutableTable(table);
    if (found == nullptr) {
        return noRecordNumber;
    }
    const auto number = static_cast<long>(found->records.size());
    Index(table, number, values);
    found->records.emplace_back(std::move(values));
    ++found->sequenceNumber;
    return number;
}

void Database::AddGap(short table) {
    if (DatabaseTable* found = MutableTable(table)) {
        found->records.emplace_back();
        ++found->sequenceNumber;
    }
}

const RecordValues* Database::Record(short table, long number) const {
    const DatabaseTable* found = Table(table);
    if (found == nullptr || number < 0 || static_cast<size_t>(number) >= found->records.size()) {
        return nullptr;
    }
    const std::optional<RecordValues>& record = found->records[static_cast<size_t>(number)];
    return record ? &*record : nullptr;
}

bool Database::IsTaken(short table, short field, const TypedValue& value, long except) const {
    const auto index = indexes.find({table, field});
    if (index == indexes.end()) {
        return false;
    }
    const auto [begin, end] = index->second.equal_range(KeyOf(value));
    return std::any_of(begin, end, [=](const auto& each) { return each.second != except; });
}

long Database::RecordsInTable(short table) const {
    const DatabaseTable* found = Table(table);
    return found == nullptr ? 0
                            : static_cast<long>(std::ranges::count_if(
                                  found->records, [](const auto& record) { return !!record; }));
}

long Database::SequenceNumber(short table) const {
    const DatabaseTable* found = Table(table);
    return found == nullptr ? 0 : found->sequenceNumber;
}

// --- Selection and current record of a process ------------------------------------------------

const Database::TableState& Database::State(long process, short table) const {
    static const TableState none;
    auto found = states.find({process, table});
    return found == states.end() ? none : found->second;
}

short Database::AllRecords(long process, short table) {
    const DatabaseTable* found = Table(table);
    if (found == nullptr) {
        return DatabaseError::UnknownTable;
    }
    std::vector<long> numbers;
    for (size_t number = 0; number < found->records.size(); ++number) {
        if (found->records[number]) {
            numbers.push_back(static_cast<long>(number));
        }
    }
    return SetSelection(process, table, std::move(numbers));
}

short Database::SetSelection(long process, short table, std::vector<long> numbers) {
    if (Table(table) == nullptr) {
        return DatabaseError::UnknownTable;
    }
    if (std::ranges::any_of(numbers,
                            [&](long number) { return Record(table, number) == nullptr; })) {
        return DatabaseError::UnknownRecord;
    }
    MutableState(process, table) = {.selection = std::move(numbers), .values = {}};
    return Selection(process, table).empty() ? short{DatabaseError::None}
                                             : GotoSelectedRecord(process, table, 0);
}

const std::vector<long>& Database::Selection(long process, short table) const {
    return State(process, table).selection;
}

short Database::GotoSelectedRecord(long process, short table, long place) {
    if (Table(table) == nullptr) {
        return DatabaseError::UnknownTable;
    }
    const std::vector<long>& selection = Selection(process, table);
    if (place < 0 || static_cast<size_t>(place) >= selection.size()) {
        return DatabaseError::UnknownRecord;
    }
    return MakeCurrent(process, table, selection[static_cast<size_t>(place)]);
}

short Database::GotoRecord(long process, short table, long number) {
    if (Table(table) == nullptr) {
        return DatabaseError::UnknownTable;
    }
    if (const short error = MakeCurrent(process, table, number)) {
        return error;
    }
    std::vector<long>& selection = MutableState(process, table).selection;
    if (std::ranges::find(selection, number) == selection.end()) {
        selection = {number};
    }
    return DatabaseError::None;
}

short Database::MakeCurrent(long process, short table, long number) {
    const RecordValues* record = Record(table, number);
    if (record == nullptr) {
        return DatabaseError::UnknownRecord;
    }
    TableState& state = MutableState(process, table);
    state.number = number;
    state.values = *record;
    return DatabaseError::None;
}

long Database::CurrentRecord(long process, short table) const {
    return State(process, table).number;
}

long Database::CurrentPlace(long process, short table) const {
    const TableState& state = State(process, table);
    auto found = std::ranges::find(state.selection, state.number);
    return found == state.selection.end() ? -1 : static_cast<long>(found - state.selection.begin());
}

short Database::NewRecord(long process, short table) {
    const DatabaseTable* found = Table(table);
    if (found == nullptr) {
        return DatabaseError::UnknownTable;
    }
    TableState& state = MutableState(process, table);
    state.number = newRecordNumber;
    state.values.clear();
    for (const DatabaseField& field : found->fields) {
        state.values.push_back(EmptyFieldValue(field.type));
    }
    return DatabaseError::None;
}

short Database::SaveRecord(long process, short table) {
    DatabaseTable* found = MutableTable(table);
    if (found == nullptr) {
        return DatabaseError::UnknownTable;
    }
    TableState& state = MutableState(process, table);
    if (state.number == noRecordNumber) {
        return DatabaseError::NoCurrentRecord;
    }
    const bool isNew = state.number == newRecordNumber;
    if (!isNew && Record(table, state.number) == nullptr) {
        return DatabaseError::UnknownRecord; // deleted by another process
    }
    for (size_t place = 0; place < state.values.size(); ++place) {
        if (IsTaken(table, static_cast<short>(place + 1), state.values[place], state.number)) {
            return DatabaseError::DuplicateValue;
        }
    }
    if (isNew) {
        state.number = AddRecord(table, state.values);
        state.selection.push_back(state.number);
    } else {
        std::optional<RecordValues>& saved = found->records[static_cast<size_t>(state.number)];
        Unindex(table, state.number, *saved);
        Index(table, state.number, state.values);
        saved = state.values;
    }
    return DatabaseError::None;
}

short Database::DeleteRecord(long process, short table) {
    DatabaseTable* found = MutableTable(table);
    if (found == nullptr) {
        return DatabaseError::UnknownTable;
    }
    TableState& current = MutableState(process, table);
    const long number = std::exchange(current.number, noRecordNumber);
    current.values.clear();
    if (number == noRecordNumber) {
        return DatabaseError::NoCurrentRecord;
    }
    if (number == newRecordNumber) {
        return DatabaseError::None; // was never in the table
    }
    if (Record(table, number) == nullptr) {
        return DatabaseError::UnknownRecord;
    }
    std::optional<RecordValues>& deleted = found->records[static_cast<size_t>(number)];
    Unindex(table, number, *deleted);
    deleted.reset();
    for (auto& [key, state] : states) {
        if (key.second == table) {
            std::erase(state.selection, number);
        }
    }
    return DatabaseError::None;
}

const RecordValues* Database::CurrentValues(long process, short table) const {
    const TableState& state = State(process, table);
    return state.number == noRecordNumber ? nullptr : &state.values;
}

short Database::SetCurrentValues(long process, short table, const RecordValues& values) {
    const DatabaseTable* found = Table(table);
    if (found == nullptr) {
        return DatabaseError::UnknownTable;
    }
    if (CurrentRecord(process, table) == noRecordNumber) {
        return DatabaseError::NoCurrentRecord;
    }
    if (!FitsFields(*found, values)) {
        return DatabaseError::WrongType;
    }
    MutableState(process, table).values = values;
    return DatabaseError::None;
}

short Database::ReadField(long process, short table, short field, TypedValue& value) const {
    if (Table(table) == nullptr) {
        return DatabaseError::UnknownTable;
    }
    if (Field(table, field) == nullptr) {
        return DatabaseError::UnknownField;
    }
    const RecordValues* values = CurrentValues(process, table);
    if (values == nullptr) {
        return DatabaseError::NoCurrentRecord;
    }
    value = (*values)[static_cast<size_t>(field) - 1];
    return DatabaseError::None;
}

short Database::WriteField(long process, short table, short field, const TypedValue& value) {
    TypedValue former;
    if (const short error = ReadField(process, table, field, former)) {
        return error;
    }
    std::optional<TypedValue> converted = ConvertToField(*Field(table, field), value);
    if (!converted) {
        return DatabaseError::WrongType;
    }
    MutableState(process, table).values[static_cast<size_t>(field) - 1] = std::move(*converted);
    return DatabaseError::None;
}
