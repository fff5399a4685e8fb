// The stand-in host's database: its model, its text file, and the statements of a script about it.

#include "testhost/session/DatabaseFile.h"
#include "testhost/session/Player.h"
#include "testhost/statements/Table.h"
#include "tests/Fixture.h"

#include <fstream>
#include <gmock/gmock.h>
#include <sstream>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr auto Rows = "table \"T\"\nfield \"Key\" long unique\nfield \"Text\" text\nrecords\n"
                      "10|a\n-\n20|b\n30|c\n";

Database RowsDatabase() {
    DatabaseFile file = ParseDatabase(Rows, "rows");
    EXPECT_THAT(file.errors, ElementsAre());
    return std::move(file.database);
}

TEST(DatabaseTest, ProcessesHaveTheirOwnRecordsAndSelections) {
    Database database = RowsDatabase();
    database.AllRecords(1, 1);
    database.GotoRecord(2, 1, 3);
    EXPECT_THAT(database.Selection(1, 1), ElementsAre(0, 2, 3));
    EXPECT_THAT(database.Selection(2, 1), ElementsAre(3));
    EXPECT_EQ(database.CurrentRecord(1, 1), 0);

    // What one writes, the other sees when it was saved and read anew.
    database.GotoRecord(1, 1, 3);
    EXPECT_EQ(database.WriteField(1, 1, 2, TextValue("new")), 0);
    TypedValue seen;
    database.ReadField(2, 1, 2, seen);
    EXPECT_EQ(seen, TextValue("c"));
    EXPECT_EQ(database.SaveRecord(1, 1), 0);
    database.GotoRecord(2, 1, 3);
    database.ReadField(2, 1, 2, seen);
    EXPECT_EQ(seen, TextValue("new"));
}

TEST(DatabaseTest, DeletedRecordsLeaveGapsAndEverySelection) {
    Database database = RowsDatabase();
    database.AllRecords(1, 1);
    database.GotoRecord(2, 1, 2);
    database.GotoRecord(1, 1, 2);
    EXPECT_EQ(database.DeleteRecord(1, 1), 0);
    EXPECT_EQ(database.DeleteRecord(1, 1), DatabaseError::NoCurrentRecord);
    EXPECT_THAT(database.Selection(1, 1), ElementsAre(0, 3));
    EXPECT_THAT(database.Selection(2, 1), ElementsAre());
    EXPECT_EQ(database.SaveRecord(2, 1), DatabaseError::UnknownRecord);
    EXPECT_EQ(database.RecordsInTable(1), 2);
    EXPECT_EQ(database.SequenceNumber(1), 5);
    database.NewRecord(1, 1);
    EXPECT_EQ(database.SaveRecord(1, 1), 0);
    EXPECT_EQ(database.CurrentRecord(1, 1), 4); // a number is never given twice
    EXPECT_EQ(database.SequenceNumber(1), 6);
    EXPECT_EQ(database.SetSelection(1, 1, {3, 2}), DatabaseError::UnknownRecord);
}

TEST(DatabaseTest, UniqueValuesAreTakenAndFreed) {
    Database database = RowsDatabase();
    const auto change = [&](long record, long key) {
        database.GotoRecord(1, 1, record);
        database.WriteField(1, 1, 1, LongValue(key));
        return database.SaveRecord(1, 1);
    };
    EXPECT_EQ(change(2, 10), DatabaseError::DuplicateValue);
    EXPECT_EQ(change(0, 10), 0); // its own
    EXPECT_EQ(change(0, 11), 0);
    EXPECT_EQ(change(2, 10), 0); // which was given up
    EXPECT_EQ(change(0, 10), DatabaseError::DuplicateValue);
    database.GotoRecord(1, 1, 2);
    database.DeleteRecord(1, 1);
    EXPECT_EQ(change(0, 10), 0);
}

TEST(DatabaseTest, RecordsThatAreThereGetAFurtherField) {
    Database database = RowsDatabase();
    database.GotoRecord(1, 1, 2);
    ASSERT_EQ(database.AddField(1, {.name = "Late", .type = FieldType::Long}), 3);
    TypedValue seen;
    EXPECT_EQ(database.ReadField(1, 1, 3, seen), 0); // of the current record's copy
    EXPECT_EQ(seen, LongValue(0));
    EXPECT_EQ(database.Record(1, 0)->at(2), LongValue(0));
    EXPECT_EQ(database.WriteField(1, 1, 3, LongValue(7)), 0);
    EXPECT_EQ(database.SaveRecord(1, 1), 0);
    EXPECT_EQ(database.Record(1, 2)->at(2), LongValue(7));
    // What is unique from now on is held against what is there.
    ASSERT_EQ(database.AddField(1, {.name = "Only", .attributes = FieldAttribute::Unique}), 4);
    database.NewRecord(1, 1);
    EXPECT_EQ(database.SaveRecord(1, 1), DatabaseError::DuplicateValue);
    EXPECT_EQ(database.DeleteRecord(1, 1), 0); // a new one was never in the table
    EXPECT_EQ(database.RecordsInTable(1), 3);
}

TEST(DatabaseTest, ThereIsNothingInATableThatIsNot) {
    Database database = RowsDatabase();
    TypedValue value;
    for (const short error :
         {database.AllRecords(1, 9), database.SetSelection(1, 9, {}),
          database.GotoSelectedRecord(1, 9, 1), database.GotoRecord(1, 9, 0),
          database.SaveRecord(1, 9), database.DeleteRecord(1, 9),
          database.SetCurrentValues(1, 9, {}), database.ReadField(1, 9, 1, value)}) {
        EXPECT_EQ(error, DatabaseError::UnknownTable);
    }
    EXPECT_EQ(database.Record(9, 0), nullptr);
    EXPECT_EQ(database.AddRecord(9, {}), database.CurrentRecord(1, 1)); // none
    EXPECT_EQ(database.SetCurrentValues(1, 1, {}), DatabaseError::NoCurrentRecord);
}

TEST(DatabaseTest, LimitsOfAFile) {
    std::string fields = "table \"T\"\n";
    std::string tables;
    for (int number = 1; number <= 512; ++number) {
        fields += "field \"F" + std::to_string(number) + "\" long\n";
    }
    for (int number = 1; number <= 256; ++number) {
        tables += "table \"T" + std::to_string(number) + "\"\n";
    }
    EXPECT_THAT(ParseDatabase(fields, "f").errors,
                ElementsAre("f:513: a table has at most 511 fields"));
    EXPECT_THAT(ParseDatabase(tables, "f").errors,
                ElementsAre("f:256: a database has at most 255 tables"));
    std::string rubbish;
    for (int number = 1; number <= 1000; ++number) {
        rubbish += std::string(1000, 'x') + "\n";
    }
    const std::vector<std::string> errors = ParseDatabase(rubbish, "f").errors;
    EXPECT_EQ(errors.size(), 101U);
    EXPECT_THAT(errors.back(), HasSubstr("the rest was not read"));
}

TEST(DatabaseTest, EveryWrongLineOfAFileIsTold) {
    const std::pair<const char*, const char*> rows[] = {
        {"tables \"T\"", "'table', 'field' or 'records'"},
        {"field \"F\" long", "beneath 'table'"},
        {"records", "beneath its fields"},
        {"table \"T\"", ""},
        {"records", "beneath its fields"},
        {"", ""},
        {"table \"t\"", "already"},
        {"table \"[T]\"", "1 to 31 characters"},
        {"field \"Key\" integer unique", ""},
        {"field \"KEY\" text", "already"},
        {"field \"X\" number", "no fields of the type 'number'"},
        {"field \"X\" alpha", "most characters"},
        {"field \"X\" alpha 200", "from 1 to 141"},
        {R"(field "A" alpha 3 related "T" "Nothing")", "no field [T]Nothing"},
        {"field \"D\" date indexed", ""},
        {"field \"W\" time", ""},
        {"records", ""},
        {"1|abc|2026-01-02|10:00:00", ""},
        {"2|abcd||", "field \"A\": the value is too long"},
        {"1|x||", "field \"Key\": another record has this value"},
        {"3|x|", "expected 4 values, found 3"},
        {"40000|x||", "field \"Key\": expected a short"},
        {"5|x|2026-1|", "field \"D\": '2026-1' is no date"},
        {"5|x|2026-02-29|", "field \"D\": no calendar has the date 2026-02-29"},
        {"6|x||10:60:00", "field \"W\": '10:60:00' is no time"},
        {"7|\\q||", "field \"A\": unknown escape"},
    };
    std::string text;
    std::vector<testing::Matcher<std::string>> expected;
    size_t line = 0;
    for (const auto& [content, error] : rows) {
        text += std::string(content) + "\r\n";
        ++line;
        if (*error != '\0') {
            expected.push_back(
                testing::AllOf(HasSubstr("f:" + std::to_string(line) + ": "), HasSubstr(error)));
        }
    }
    EXPECT_THAT(ParseDatabase(text, "f").errors, testing::UnorderedElementsAreArray(expected));
}

TEST(DatabaseTest, ScriptsLoadADatabaseAndStateWhatIsInIt) {
    Host host;
    Session session(host, EntryPoints{FourDPack, FourDPackex});
    const std::string folder = host.ScratchPath();
    std::ofstream(folder + "rows.txt") << Rows;
    std::ofstream(folder + "wrong.txt") << "table\nfield\n";
    const auto play = [&](const std::string& lines) {
        const Script script = ParseScript(lines, folder + "script");
        EXPECT_THAT(script.errors, ElementsAre());
        std::ostringstream out;
        Player(session, {out, false}).Play(script);
        return out.str();
    };
    EXPECT_THAT(play("database \"rows.txt\"\n"
                     "expect records \"t\" 3\n"
                     "expect field \"T\" 2 \"Text\" text \"b\"\n"
                     "expect selection \"T\"\n"
                     "expect record \"T\" none\n"),
                HasSubstr("4 expectations held, 0 failed"));
    host.database.AllRecords(host.currentProcess, 1);
    EXPECT_THAT(play("expect selection \"T\" 0 2 3\nexpect record \"T\" 0\n"),
                HasSubstr("2 expectations held, 0 failed"));
    const std::pair<const char*, const char*> failures[] = {
        {"expect records \"T\" 4", "expected 4 records, got 3"},
        {"expect records \"U\" 4", "no table \"U\""},
        {R"(expect field "T" 1 "Text" text "b")", "no record 1"},
        {R"(expect field "T" 0 "Txt" text "b")", R"(no field "Txt")"},
        {R"(expect field "T" 0 "Text" text "b")", R"(expected text "b", got text "a")"},
        {"expect selection \"T\" 0", "expected 1 records: 0, got 3 records: 0 2 3"},
        {"expect record \"T\" none", "expected record -1, got 0"},
        {"database \"none.txt\"", "missing"},
        {"database \"wrong.txt\"", "wrong.txt:2: "},
    };
    for (const auto& [line, said] : failures) {
        EXPECT_THAT(play(line), HasSubstr(said));
    }
}

} // namespace
