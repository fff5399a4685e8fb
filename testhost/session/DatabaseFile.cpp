#include "testhost/session/DatabaseFile.h"

#include "testhost/session/TextFile.h"
#include "testhost/session/Values.h"
#include "testhost/session/Words.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <cstdio>

namespace {
struct TypeWord {
    std::string_view word;
    short type;
};

constexpr TypeWord typeWords[] = {
    {"alpha", FieldType::Alpha}, {"text", FieldType::Text},       {"real", FieldType::Real},
    {"date", FieldType::Date},   {"integer", FieldType::Integer}, {"long", FieldType::Long},
    {"time", FieldType::Time},   {"boolean", FieldType::Boolean}, {"picture", FieldType::Picture},
    {"blob", FieldType::Blob},
};

struct AttributeWord {
    std::string_view word;
    long attribute;
};

constexpr AttributeWord attributeWords[] = {
    {"indexed", FieldAttribute::Indexed},
    {"unique", FieldAttribute::Unique},
    {"invisible", FieldAttribute::Invisible},
};

// The target of a relation, looked up when all tables are known.
struct Relation {
    size_t line;
    short table;
    short field;
    std::string toTable;
    std::string toField;
};

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \r";
    const size_t start = std::min(text.find_first_not_of(blanks), text.size());
    return text.substr(start, text.find_last_not_of(blanks) + 1 - start);
}

// The values of a row as they are written, without the blanks around them.
std::vector<std::string_view> Cells(std::string_view row) {
    std::vector<std::string_view> cells;
    for (;;) {
        const size_t end = row.find_first_of("|\t");
        cells.push_back(Trimmed(row.substr(0, end)));
        if (end == std::string_view::npos) {
            return cells;
        }
        row.remove_prefix(end + 1);
    }
}

std::string WithoutEscapes(std::string_view cell) {
    std::string text;
    for (size_t place = 0; place < cell.size();) {
        const char character = cell[place++];
        text += character == '\\' ? TakeEscape(cell, place) : character;
    }
    return text;
}

long TakeTime(Words& words) {
    const std::string text = words.TakeWord("a time such as 17:30:00");
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int length = 0;
    if (std::sscanf(text.c_str(), "%4d:%2d:%2d%n", &hours, &minutes, &seconds, &length) != 3 ||
        static_cast<size_t>(length) != text.size() || hours < 0 || minutes < 0 || minutes > 59 ||
        seconds < 0 || seconds > 59) {
        throw ScriptError("'" + text + "' is no time: write it as 17:30:00");
    }
    return hours * 3600L + minutes * 60L + seconds;
}

TypedValue ParseCell(const DatabaseField& field, std::string_view cell) {
    if (cell.empty()) {
        return EmptyFieldValue(field.type);
    }
    const ValueKind kind = KindOfField(field.type);
    if (const FieldCarrier carrier = CarrierOf(field.type);
        carrier == FieldCarrier::Bytes || carrier == FieldCarrier::ValueText) {
        return {.kind = kind, .texts = {WithoutEscapes(cell)}};
    }
    Words words(cell);
    TypedValue value = kind == ValueKind::Time
                           ? TypedValue{.kind = kind, .numbers = {TakeTime(words)}}
                           : TakeValueOf(kind, words);
    words.ExpectEnd();
    return value;
}

class Reader {
  public:
    // A line of the file; throws ScriptError.
    void Take(std::string_view line, size_t number) {
        lineNumber = number;
        const bool isEmpty = Trimmed(line).empty();
        if (!inRecords) {
            TakeStatement(Words(line));
        } else if (isEmpty) {
            inRecords = false;
        } else {
            TakeRow(line);
        }
    }

    // What can be resolved only at the end.
    void ResolveRelation(const Relation& relation) {
        const short toTable = database.FindTable(relation.toTable);
        const short toField = database.FindField(toTable, relation.toField);
        if (toField == 0) {
            throw ScriptError("there is no field [" + relation.toTable + "]" + relation.toField);
        }
        database.Relate(relation.table, relation.field, toTable, toField);
    }

    Database database;
    std::vector<Relation> relations;

  private:
    void TakeStatement(Words words) {
        if (words.AtEnd()) {
            return;
        }
        if (words.TakeIf("table")) {
            TakeTable(words);
        } else if (words.TakeIf("field")) {
            TakeField(words);
        } else if (words.TakeIf("records")) {
            BeginRecords();
        } else {
            words.TakeWord("'table', 'field' or 'records'");
            throw ScriptError("expected 'table', 'field' or 'records'");
        }
        words.ExpectEnd();
    }

    void BeginRecords() {
        if (table == 0 || database.Table(table)->fields.empty()) {
            throw ScriptError("the records of a table stand beneath its fields");
        }
        inRecords = true;
    }

    static std::string TakeName(Words& words, std::string_view what) {
        std::string name = words.TakeString(what);
        if (name.empty() || name.size() > 31 || name.find_first_of("[]") != std::string::npos) {
            throw ScriptError("a name has 1 to 31 characters other than [ and ]");
        }
        return name;
    }

    void TakeTable(Words& words) {
        std::string name = TakeName(words, "the table's name");
        if (database.FindTable(name) != 0) {
            throw ScriptError("there is a table " + Quoted(name) + " already");
        }
        const short added = database.AddTable(std::move(name));
        if (added == 0) {
            throw ScriptError("a database has at most " + std::to_string(mostTables) + " tables");
        }
        table = added;
    }

    void TakeField(Words& words) {
        if (table == 0 || !database.Table(table)->records.empty()) {
            throw ScriptError("the fields of a table stand beneath 'table' and above its records");
        }
        DatabaseField field{.name = TakeName(words, "the field's name")};
        if (database.FindField(table, field.name) != 0) {
            throw ScriptError("the table has a field " + Quoted(field.name) + " already");
        }
        const std::string type = words.TakeWord("the field's type");
        const auto* known = std::ranges::find(typeWords, type, &TypeWord::word);
        if (known == std::end(typeWords)) {
            throw ScriptError("there are no fields of the type '" + type + "'");
        }
        field.type = known->type;
        if (field.type == FieldType::Alpha) {
            field.length = static_cast<short>(
                words.TakeNumber("the most characters of the field", 1, LongestAlpha));
        }
        const auto takeAttribute = [&](const AttributeWord& row) {
            const bool isTaken = words.TakeIf(row.word);
            field.attributes |= isTaken ? row.attribute : 0;
            return isTaken;
        };
        while (std::ranges::any_of(attributeWords, takeAttribute)) {
        }
        const short number = database.AddField(table, std::move(field));
        if (number == 0) {
            throw ScriptError("a table has at most " + std::to_string(mostFields) + " fields");
        }
        if (words.TakeIf("related")) {
            std::string toTable = words.TakeString("the related table's name");
            relations.push_back({lineNumber, table, number, std::move(toTable),
                                 words.TakeString("the related field's name")});
        }
    }

    void TakeRow(std::string_view line) {
        if (Trimmed(line) == "-") {
            database.AddGap(table);
            return;
        }
        const std::vector<DatabaseField>& fields = database.Table(table)->fields;
        const std::vector<std::string_view> cells = Cells(line);
        if (cells.size() != fields.size()) {
            throw ScriptError("expected " + std::to_string(fields.size()) + " values, found " +
                              std::to_string(cells.size()));
        }
        RecordValues values;
        for (size_t place = 0; place < fields.size(); ++place) {
            values.push_back(CheckedCell(place, fields[place], cells[place]));
        }
        database.AddRecord(table, std::move(values));
    }

    TypedValue CheckedCell(size_t place, const DatabaseField& field, std::string_view cell) const {
        try {
            TypedValue value = ParseCell(field, cell);
            if (!ConvertToField(field, value)) {
                throw ScriptError("the value is too long");
            }
            if (database.IsTaken(table, static_cast<short>(place + 1), value)) {
                throw ScriptError("another record has this value already");
            }
            return value;
        } catch (const ScriptError& error) {
            throw ScriptError("field " + Quoted(field.name) + ": " + error.what());
        }
    }

    short table = 0;
    bool inRecords = false;
    size_t lineNumber = 0;
};
} // namespace

DatabaseFile ParseDatabase(std::string_view text, const std::string& name) {
    Reader reader;
    LineReader lines(text, name);
    lines.ForEach([&](std::string_view line, size_t number) { reader.Take(line, number); });
    for (const Relation& relation : reader.relations) {
        lines.At(relation.line, [&] { reader.ResolveRelation(relation); });
    }
    return {std::move(reader.database), std::move(lines.errors)};
}

DatabaseFile ReadDatabaseFile(const std::filesystem::path& path) {
    const std::string name = Shown(path);
    return ParseDatabase(ReadText(path, "the database " + name), name);
}
