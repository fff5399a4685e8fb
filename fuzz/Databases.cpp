// Database files of any text: what is accepted reads the same when it is written anew.

#include "fuzz/Harness.h"
#include "testhost/session/DatabaseFile.h"
#include "testhost/values/TypedValue.h"

#include <array>
#include <cstdio>
#include <string_view>

namespace {
constexpr std::string_view typeWords[] = {"alpha",   "text", "real", "integer", "long",
                                          "picture", "date", "time", "boolean", "blob"};

// A text as a cell has it: without a character that means something there.
std::string Escaped(std::string_view text) {
    std::string cell;
    for (const char character : text) {
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned char>(character));
        cell += escape;
    }
    return cell;
}

std::string Cell(const TypedValue& value) {
    if (value.kind == ValueKind::Time) {
        const long seconds = value.numbers.at(0);
        char text[32];
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", seconds / 3600, seconds / 60 % 60,
                      seconds % 60);
        return text;
    }
    if (!value.texts.empty() || value.kind == ValueKind::Picture || value.kind == ValueKind::Blob) {
        return value.texts.empty() ? "" : Escaped(value.texts[0]);
    }
    const std::string described = Describe(value); // "long 7"
    return described.substr(described.find(' ') + 1);
}

std::string_view TypeWord(const DatabaseField& field) {
    for (const std::string_view word : typeWords) {
        const std::string text =
            "table \"t\"\nfield \"f\" " + std::string(word) + (word == "alpha" ? " 1" : "");
        if (ParseDatabase(text, "name").database.Field(1, 1)->type == field.type) {
            return word;
        }
    }
    Fail("a field has a type that no word stands for");
}

std::string FieldLine(const Database& database, const DatabaseField& field) {
    std::string line = "field " + Quoted(field.name) + " ";
    line += TypeWord(field);
    line += field.type == FieldType::Alpha ? " " + std::to_string(field.length) : "";
    line += (field.attributes & FieldAttribute::Indexed) != 0 ? " indexed" : "";
    line += (field.attributes & FieldAttribute::Unique) != 0 ? " unique" : "";
    line += (field.attributes & FieldAttribute::Invisible) != 0 ? " invisible" : "";
    if (field.relatedTable != 0) {
        line += " related " + Quoted(database.Table(field.relatedTable)->name) + " " +
                Quoted(database.Field(field.relatedTable, field.relatedField)->name);
    }
    return line + "\n";
}

std::string Written(const Database& database) {
    std::string text;
    for (short number = 1; number <= database.TableCount(); ++number) {
        const DatabaseTable& table = *database.Table(number);
        text += "table " + Quoted(table.name) + "\n";
        for (const DatabaseField& field : table.fields) {
            text += FieldLine(database, field);
        }
        text += table.records.empty() ? "" : "records\n";
        for (const auto& record : table.records) {
            std::string separator;
            for (std::size_t place = 0; record && place < record->size(); ++place) {
                text += separator + Cell(record->at(place));
                separator = "|";
            }
            text += record ? "\n" : "-\n";
        }
        text += "\n";
    }
    return text;
}

void RequireSame(const Database& one, const Database& other) {
    Require(one.TableCount() == other.TableCount(), "the tables are others");
    for (short number = 1; number <= one.TableCount(); ++number) {
        Require(one.Table(number)->records == other.Table(number)->records,
                "the records are others");
        Require(one.SequenceNumber(number) == other.SequenceNumber(number),
                "the sequence numbers are others");
    }
    Require(Written(one) == Written(other), "the fields are others");
}
} // namespace

void Fuzz(Input& input) {
    const DatabaseFile file = ParseDatabase(input.ConsumeRemainingBytesAsString(), "name");
    for (const std::string& error : file.errors) {
        Require(error.starts_with("name:") && error.size() > std::size("name:1: "),
                "an error is not told");
    }
    if (file.errors.empty()) {
        const DatabaseFile again = ParseDatabase(Written(file.database), "name");
        if (!again.errors.empty()) {
            Fail("written anew it is wrong: " + again.errors[0]);
        }
        RequireSame(file.database, again.database);
    }
}
