#include "testhost/session/DatabaseFile.h"
#include "testhost/session/Player.h"
#include "testhost/session/Values.h"
#include "testhost/statements/Parsers.h"

namespace {
// Runs `act` with the number of the table, or fails when there is none of this name.
template <typename Act>
Action WithTable(std::string name, Act act) {
    return [name = std::move(name), act](Player& player) {
        const short table = player.host.database.FindTable(name);
        if (table == 0) {
            return player.Fail("the database has no table " + Quoted(name));
        }
        act(player, table);
    };
}

bool IsAbsolute(const std::wstring& path) {
    return path.starts_with(L'/') || path.starts_with(L'\\') || path.find(L':') == 1;
}

std::string Numbers(const std::vector<long>& numbers) {
    std::string text = std::to_string(numbers.size()) + " records:";
    for (long number : numbers) {
        text += " " + std::to_string(number);
    }
    return text;
}
} // namespace

Action ParseDatabaseStatement(Words& words) {
    return [path = words.TakeWideString("the file's path")](Player& player) {
        DatabaseFile file =
            ReadDatabaseFile(IsAbsolute(path) ? path : player.stage.scriptFolder + path);
        for (const std::string& error : file.errors) {
            player.Fail(error);
        }
        if (file.errors.empty()) {
            player.host.database = std::move(file.database);
        }
    };
}

Action ParseExpectFieldValue(Words& words) {
    std::string tableName = words.TakeString("the table's name");
    const long number = words.TakeNumber("the record's number", 0);
    std::string fieldName = words.TakeString("the field's name");
    const ValueKind kind = TakeKind(words);
    auto check = [number, fieldName, expected = TakeValueOf(kind, words)](Player& player,
                                                                          short table) {
        const Database& database = player.host.database;
        const short field = database.FindField(table, fieldName);
        if (field == 0) {
            return player.Fail("the table has no field " + Quoted(fieldName));
        }
        const RecordValues* record = database.Record(table, number);
        if (record == nullptr) {
            return player.Fail("the table has no record " + std::to_string(number));
        }
        const TypedValue& got = (*record)[static_cast<size_t>(field) - 1];
        player.Expect(got == expected, Describe(expected), Describe(got));
    };
    return WithTable(std::move(tableName), check);
}

Action ParseExpectRecords(Words& words) {
    std::string tableName = words.TakeString("the table's name");
    const long count = words.TakeNumber("a count", 0);
    return WithTable(std::move(tableName), [count](Player& player, short table) {
        const long got = player.host.database.RecordsInTable(table);
        player.Expect(got == count, std::to_string(count) + " records", std::to_string(got));
    });
}

Action ParseExpectSelection(Words& words) {
    std::string tableName = words.TakeString("the table's name");
    std::vector<long> numbers;
    while (words.IsNumber()) {
        numbers.push_back(words.TakeNumber("a record's number", 0));
    }
    return WithTable(std::move(tableName), [numbers](Player& player, short table) {
        const auto& got = player.host.database.Selection(player.host.currentProcess, table);
        player.Expect(got == numbers, Numbers(numbers), Numbers(got));
    });
}

Action ParseExpectRecord(Words& words) {
    std::string tableName = words.TakeString("the table's name");
    const long number = words.TakeIf("none")
                            ? noRecordNumber
                            : words.TakeNumber("the record's number or 'none'", newRecordNumber);
    return WithTable(std::move(tableName), [number](Player& player, short table) {
        const long got = player.host.database.CurrentRecord(player.host.currentProcess, table);
        player.Expect(got == number, "record " + std::to_string(number), std::to_string(got));
    });
}
