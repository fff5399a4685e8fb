#pragma once

#include "host/boundary/Fields.h"
#include "testhost/values/TypedValue.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

/// Whether two texts are the same to the host: case makes no difference.
bool SameText(std::string_view first, std::string_view second);

/// What the host answers where something is wrong with a table, a field or a record.
namespace DatabaseError {
enum : short {
    None = 0,
    UnknownTable = -9,
    UnknownField = -10,
    NoCurrentRecord = -11,
    UnknownRecord = -12,   ///< no record of this number, no such place in the selection
    WrongType = -13,       ///< the value is not of the field's type, or not in its range
    DuplicateValue = -14,  ///< another record has this value in a field that is to be unique
    BadPackedRecord = -15, ///< not a packed record, or of another table
};
}

/// Most tables of a database, and most fields of a table.
inline constexpr short mostTables = 255;
inline constexpr short mostFields = 511;

/// A field; its number is its place in the table, from 1.
struct DatabaseField {
    std::string name;
    short type = FieldType::Text; ///< FieldType
    short length = 0;             ///< most characters of an alpha field
    long attributes = 0;          ///< FieldAttribute bits
    short relatedTable = 0;       ///< 0 without a relation
    short relatedField = 0;
};

/// The values of a record, one for each field, each of the kind that KindOfField tells.
using RecordValues = std::vector<TypedValue>;

/// A table; its number is its place in the database, from 1.
struct DatabaseTable {
    std::string name;
    std::vector<DatabaseField> fields;
    /// By record number, from 0. The numbers of deleted records stay empty.
    std::vector<std::optional<RecordValues>> records;
    long sequenceNumber = 1; ///< of the next record that is added
};

/// Record number of a current record that was never saved.
inline constexpr long newRecordNumber = -3;
/// Record number where there is no current record.
inline constexpr long noRecordNumber = -1;

/// The kind of the values of a field type: alpha string, text text, real real, integer short,
/// long long, date date, time time, boolean boolean, picture picture, BLOB blob. None for a code
/// that is no field type.
ValueKind KindOfField(short fieldType);
/// 0, an empty text, the empty date, a null handle: what a new record's field holds.
TypedValue EmptyFieldValue(short fieldType);
/// `value` as the field takes it: numbers, booleans and times become one another, so do strings
/// and texts. Nothing when it is of another type, too large or too long.
std::optional<TypedValue> ConvertToField(const DatabaseField& field, const TypedValue& value);

/// The host's database: tables with their records and, for each process, a current record and a
/// selection per table. The current record is a copy of its own: what is written to its fields
/// reaches the table, and the other processes, when it is saved.
/// What answers a short answers a DatabaseError. Names are compared without regard to case.
class Database {
  public:
    // --- Structure ------------------------------------------------------------------------

    /// Adds a table, a field, and answers its number; 0 when there are as many as may be.
    short AddTable(std::string name);
    short AddField(short table, DatabaseField field);

    /// Relates a field that is there to another.
    void Relate(short table, short field, short toTable, short toField);

    short TableCount() const { return static_cast<short>(tables.size()); }
    /// Number of the table of this name; 0 when there is none.
    short FindTable(std::string_view name) const;
    /// Number of the field of this name; 0 when there is none.
    short FindField(short table, std::string_view name) const;
    /// Table and field number of "[Table]Field", of "[Table]" (field 0), or of the first table that
    /// has a field of the name "Field"; 0 and 0 when there is none.
    std::pair<short, short> FindReference(std::string_view reference) const;
    /// The table, the field of this number; null when there is none.
    const DatabaseTable* Table(short number) const;
    const DatabaseField* Field(short table, short field) const;

    // --- Records of a table ---------------------------------------------------------------

    /// Adds a record and answers its number. The values are to be as RecordValues asks.
    long AddRecord(short table, RecordValues values);
    /// Takes the next record number for a record that is deleted from the start.
    void AddGap(short table);
    /// The saved record of this number; null when there is none.
    const RecordValues* Record(short table, long number) const;
    /// Whether the field is to be unique and a record, other than `except`, has the value in it.
    bool IsTaken(short table, short field, const TypedValue& value,
                 long except = noRecordNumber) const;
    /// How many records the table holds; 0 for an unknown table.
    long RecordsInTable(short table) const;
    /// Number that the next new record will have had: grows by 1 with each record that is added.
    /// 0 for an unknown table.
    long SequenceNumber(short table) const;

    // --- Selection and current record of a process -------------------------------------------

    /// Selects all records by their numbers and makes the first of them current.
    short AllRecords(long process, short table);
    /// Selects these records, in this order, and makes the first of them current.
    short SetSelection(long process, short table, std::vector<long> numbers);
    /// Record numbers of the selection, in its order; empty for an unknown table.
    const std::vector<long>& Selection(long process, short table) const;
    /// Makes the record at `place` of the selection, from 0, current.
    short GotoSelectedRecord(long process, short table, long place);
    /// Makes a record current. One that is not selected becomes the whole selection.
    short GotoRecord(long process, short table, long number);
    /// Number of the current record: newRecordNumber before it was saved, noRecordNumber without.
    long CurrentRecord(long process, short table) const;
    /// Place of the current record in the selection, from 0; -1 when it is not in it.
    long CurrentPlace(long process, short table) const;

    /// Makes a new record with empty values current; nothing is in the table before it is saved.
    short NewRecord(long process, short table);
    /// Saves the current record. A new one takes its number now and joins the selection's end.
    short SaveRecord(long process, short table);
    /// Deletes the current record, which leaves no current record; it goes from every selection.
    short DeleteRecord(long process, short table);

    /// Values of the current record; null when there is none.
    const RecordValues* CurrentValues(long process, short table) const;
    /// Replaces all of them. WrongType when they are not one for each field.
    short SetCurrentValues(long process, short table, const RecordValues& values);
    /// Reads and writes one of them, converted as ConvertToField does.
    short ReadField(long process, short table, short field, TypedValue& value) const;
    short WriteField(long process, short table, short field, const TypedValue& value);

  private:
    struct TableState {
        std::vector<long> selection;
        long number = noRecordNumber; ///< of the current record
        RecordValues values;          ///< of the current record
    };

    /// Numbers of the records that have a value in a field that is to be unique, by that value.
    using UniqueIndex = std::unordered_multimap<std::string, long>;

    DatabaseTable* MutableTable(short number);
    short MakeCurrent(long process, short table, long number);
    /// Puts a record's values into the indexes of its table, or takes them out.
    void Index(short table, long number, const RecordValues& values);
    void Unindex(short table, long number, const RecordValues& values);
    const TableState& State(long process, short table) const;
    TableState& MutableState(long process, short table) { return states[{process, table}]; }

    std::vector<DatabaseTable> tables;
    std::map<std::pair<short, short>, UniqueIndex> indexes; ///< by table and field
    std::map<std::pair<long, short>, TableState> states;    ///< by process and table
};
