// Tables, fields and records as a plug-in reaches them, against the host's database: what is sent,
// what comes back, and who owns it.

#include "host/boundary/Fields.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/session/DatabaseFile.h"
#include "tests/Fixture.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

constexpr auto Tables = R"(
table "People"
field "Name" alpha 20 unique indexed
field "Club" integer related "Clubs" "Number"
field "Note" text invisible
field "Weight" real
field "Born" date
field "Up" time
field "Member" boolean
field "Points" long
field "Face" picture
field "Data" blob
records
Ada | 3 | first\nsecond | 51.25 | 1815-12-10 | 06:30:05 | true | 123456 | \x00\xFF | bytes
-
Bob |||||||||
Cleo |||||||||

table "Clubs"
field "Number" integer
)";

constexpr short People = 1;

class RecordsTest : public DualHostTest {
  protected:
    RecordsTest() {
        Start();
        DatabaseFile file = ParseDatabase(Tables, "tables");
        EXPECT_THAT(file.errors, ElementsAre());
        host.database = std::move(file.database);
        host.log.Clear();
    }

    const LoggedCall& LastCall() { return host.log.Calls().back(); }
    std::vector<long> RecordAndFlagsSent() {
        const CallFields& sent = LastCall().Sent();
        return {sent.recordNumber, sent.flag1, sent.flag2};
    }
    void GoTo(long record) { ASSERT_EQ(FourD::GotoRecord(People, record, 0, 0), 0); }
    TypedValue Saved(long record, short field) {
        return host.database.Record(People, record)->at(static_cast<size_t>(field) - 1);
    }

    TestPlug plug;
};

INSTANTIATE_TEST_SUITE_P(Hosts, RecordsTest, ClassicAndEngine, HostName);

TEST_P(RecordsTest, CountsAndTypesComeThroughTheHostsOwnCall) {
    struct Row {
        const char* name;
        std::function<OSErr(short* answer)> ask;
        long selector;
        OSErr error;
        short answer;
    };
    const Row rows[] = {
        {"files", [](short* n) { return FourD::CountFiles(n); }, 9, 0, 2},
        {"fields", [](short* n) { return FourD::CountFields(People, n); }, 10, 0, 10},
        {"no table", [](short* n) { return FourD::CountFields(3, n); }, 10, -9, 0},
        {"alpha", [](short* t) { return FourD::GetFieldType(People, 1, t); }, 12, 0, 24},
        {"integer", [](short* t) { return FourD::GetFieldType(2, 1, t); }, 12, 0, 8},
        {"type without table", [](short* t) { return FourD::GetFieldType(0, 1, t); }, 12, -9, -1},
        {"type without field", [](short* t) { return FourD::GetFieldType(2, 2, t); }, 12, -10, -1},
    };
    for (const Row& row : rows) {
        short answer = 77;
        EXPECT_EQ(row.ask(&answer), row.error) << row.name;
        EXPECT_EQ(answer, row.answer) << row.name;
        EXPECT_EQ(LastCall().selector, host.HasEngine() ? -row.selector : row.selector) << row.name;
    }
}

TEST_P(RecordsTest, NamesAndPropertiesOfFields) {
    unsigned char name[256] = {9};
    EXPECT_EQ(FourD::GetFileName(People, name), 0);
    EXPECT_EQ(PascalString::TextOf(name), "People");
    EXPECT_EQ(FourD::GetFileName(-1, name), -9);
    EXPECT_EQ(name[0], 0);
    char text[256] = "x";
    EXPECT_EQ(FourD::GetFileNameC(2, text), 0);
    EXPECT_STREQ(text, "Clubs");
    EXPECT_EQ(FourD::GetFileNameC(3, text), -9);
    EXPECT_STREQ(text, "");

    struct Row {
        const char* name;
        short table, field;
        OSErr error;
    };
    for (const Row& row :
         {Row{"[people]NOTE", 1, 3, 0}, Row{"[Clubs]", 2, 0, 0}, Row{"Number", 2, 1, 0},
          Row{"[Clubs]Note", 0, 0, -10}, Row{"[Clubs", 0, 0, -10}, Row{"", 0, 0, -10}}) {
        short table = 7;
        short field = 7;
        EXPECT_EQ(FourD::GetFileFieldNum(PascalString(row.name), &table, &field), row.error);
        EXPECT_EQ(std::pair(table, field), std::pair(row.table, row.field)) << row.name;
    }

    FieldInfo info;
    EXPECT_EQ(FourD::GetFieldInfo(People, 1, &info), 0);
    EXPECT_EQ(std::tuple(info.type, info.length, info.attributes, info.relatedTable),
              std::tuple(24, 20, 3, 0));
    EXPECT_EQ(FourD::GetFieldInfo(People, 2, &info), 0);
    EXPECT_EQ(std::tuple(info.type, info.length, info.relatedTable, info.relatedField),
              std::tuple(8, 0, 2, 1));
    EXPECT_EQ(FourD::GetFieldInfo(People, 11, &info), -10);
    EXPECT_EQ(info.type, 0);
}

TEST_P(RecordsTest, GoesThroughRecordsByPlaceAndByNumber) {
    long number = 5;
    EXPECT_EQ(FourD::RecordNumber(People, &number), -11);
    EXPECT_EQ(number, -1);
    EXPECT_EQ(FourD::RecordsInSelection(9, &number), -9);
    EXPECT_EQ(number, 0);
    ASSERT_EQ(host.database.AllRecords(1, People), 0);
    EXPECT_EQ(FourD::RecordsInSelection(People, &number), 0);
    EXPECT_EQ(number, 3);

    EXPECT_EQ(FourD::GotoSelectedRecord(People, 2, 1, 3), 0);
    EXPECT_THAT(RecordAndFlagsSent(), ElementsAre(1, 1, 3)); // the host counts from 0
    FourD::RecordNumber(People, &number);
    EXPECT_EQ(number, 2); // behind the gap that a deleted record left
    FourD::SelectedRecordNumber(People, &number);
    EXPECT_EQ(number, 2);
    for (const long place : {0L, 4L, -0x7FFFFFFFL - 1}) {
        EXPECT_EQ(FourD::GotoSelectedRecord(People, place, 0, 0), -12) << place;
    }
    EXPECT_EQ(FourD::GotoRecord(People, 3, 2, 1), 0);
    EXPECT_THAT(RecordAndFlagsSent(), ElementsAre(3, 2, 1));
    EXPECT_EQ(FourD::GotoRecord(People, 1, 0, 0), -12);
    FourD::RecordNumber(People, &number);
    EXPECT_EQ(number, 3); // what fails changes nothing
}

// Each type's value, read from one record and written to another one.
TEST_P(RecordsTest, FieldsOfEveryTypeTravelBothWays) {
    for (short field = 1; field <= 10; ++field) {
        for (const bool asValue : {false, true}) {
            FieldData data = {};
            ValueBlock value;
            GoTo(0);
            OSErr error = asValue ? FourD::GetFieldData(People, field, &value)
                                  : FourD::GetFieldData(People, field, &data);
            if (asValue && field == 9 && host.HasEngine()) {
                EXPECT_EQ(error, -1999); // newer hosts' pictures are no handles
                EXPECT_EQ(value.type, ValueType::Undefined);
                continue;
            }
            ASSERT_EQ(error, 0) << field;
            GoTo(2);
            const TypedValue former = Saved(2, field);
            error = asValue ? FourD::SetFieldData(People, field, &value)
                            : FourD::SetFieldData(People, field, &data);
            EXPECT_EQ(error, 0) << field;
            EXPECT_EQ(Saved(2, field), former) << "it is not saved yet";
            // The name is to be unique.
            EXPECT_EQ(FourD::UpdateRecord(People), field == 1 ? -14 : 0);
            EXPECT_EQ(Saved(2, field), field == 1 ? former : Saved(0, field)) << field;
            if (asValue && value.type == ValueType::Text) {
                EXPECT_EQ(std::string(*value.text.text, 12), "first\nsecond");
                EXPECT_EQ(short{value.text.length}, 12);
                DisposeHandle(value.text.text);
            } else if (asValue && CarrierOf(value.type) == FieldCarrier::Bytes) {
                DisposeHandle(value.blob.data);
            }
            FourD::DisposeFieldData(&data);
            EXPECT_EQ(data.handle, nullptr);
            host.database.WriteField(1, People, field, former);
            FourD::UpdateRecord(People);
        }
    }
}

// A typed value has no place for it.
TEST_P(RecordsTest, AHandleBesideANumberIsReleased) {
    const ClassicCallBack classic =
        std::exchange(gHost.classicCallBack, [](long, ParameterBlock* block) {
            block->param1 = FieldType::Long;
            block->handle = NewHandle(4);
            return 0L;
        });
    ValueBlock value;
    EXPECT_EQ(FourD::GetFieldData(1, 1, &value), 0);
    EXPECT_EQ(value.type, ValueType::Long);
    gHost.classicCallBack = classic;
}

TEST_P(RecordsTest, ValuesThatFitNoFieldAreRefused) {
    GoTo(0);
    ValueBlock value = {};
    for (const unsigned char type :
         {ValueType::Undefined, ValueType::LongArray, ValueType::Pointer, ValueType::UnicodeText}) {
        value.type = type;
        EXPECT_EQ(FourD::SetFieldData(People, 1, &value), -1999);
    }
    value.type = ValueType::String;
    value.string.string[0] = LongestAlpha + 1;
    EXPECT_EQ(FourD::SetFieldData(People, 3, &value), -50);
    value.string.string[0] = 21;
    EXPECT_EQ(FourD::SetFieldData(People, 1, &value), -13); // the field takes 20
    EXPECT_EQ(FourD::SetFieldData(People, 3, &value), 0);   // a text field takes more
    value.type = ValueType::Long;
    value.number = 40000;
    EXPECT_EQ(FourD::SetFieldData(People, 2, &value), -13); // not in 16 bits
    EXPECT_EQ(FourD::SetFieldData(People, 5, &value), -13);
    EXPECT_EQ(FourD::SetFieldData(People, 11, &value), -10);
    FieldData data = {};
    EXPECT_EQ(FourD::SetFieldData(People, 1, &data), -1999); // says no type
    // A size beyond the handle's end.
    OwnedHandle bytes("ab");
    data.type = FieldType::Blob;
    data.size = 1000;
    data.handle = bytes;
    host.log.Clear();
    EXPECT_EQ(FourD::SetFieldData(People, 10, &data), 0);
    EXPECT_EQ(host.log.Calls().back().Sent().param2, 2);
    FourD::UpdateRecord(People);
    EXPECT_EQ(Saved(0, 10).texts, std::vector<std::string>{"ab"});
}

TEST_P(RecordsTest, NewRecordsGetTheirNumberWhenTheyAreSaved) {
    EXPECT_EQ(FourD::UpdateRecord(People), -11);
    EXPECT_EQ(FourD::NewRecord(7), -9);
    EXPECT_EQ(FourD::NewRecord(People), 0);
    long number = 0;
    EXPECT_EQ(FourD::RecordNumber(People, &number), 0);
    EXPECT_EQ(number, -3);
    ValueBlock name = {.type = ValueType::String, .filler = 0, .string = {20, "\4Dora"}};
    EXPECT_EQ(FourD::SetFieldData(People, 1, &name), 0);
    EXPECT_EQ(FourD::UpdateRecord(People), 0);
    FourD::RecordNumber(People, &number);
    EXPECT_EQ(number, 4);
    EXPECT_EQ(Saved(4, 1), StringValue("Dora"));
    FourD::SelectedRecordNumber(People, &number);
    EXPECT_EQ(number, 1);
}

TEST_P(RecordsTest, PackedRecordsMoveWholeRecordsAndNothingElse) {
    Handle packed = nullptr;
    EXPECT_EQ(FourD::GetPackedRecord(People, &packed), -11);
    EXPECT_EQ(packed, nullptr);
    GoTo(0);
    ASSERT_EQ(FourD::GetPackedRecord(People, &packed), 0);
    const std::string bytes = OwnedHandle::BytesOf(packed);
    FourD::NewRecord(People);
    EXPECT_EQ(FourD::SetPackedRecord(2, packed), -15); // another table's
    EXPECT_EQ(FourD::SetPackedRecord(People, packed), 0);
    DisposeHandle(packed);
    EXPECT_EQ(*host.database.CurrentValues(1, People), *host.database.Record(People, 0));

    GoTo(2);
    for (size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_EQ(FourD::SetPackedRecord(People, OwnedHandle(bytes.substr(0, length))), -15);
    }
    for (size_t place = 0; place < bytes.size(); ++place) {
        std::string damaged = bytes;
        damaged[place] ^= '\x80';
        const OSErr error = FourD::SetPackedRecord(People, OwnedHandle(damaged));
        EXPECT_TRUE(error == 0 || error == -15 || error == -13) << error;
    }
    EXPECT_EQ(FourD::SetPackedRecord(People, nullptr), -50);
}

TEST_P(RecordsTest, OneProcessHoldsThePrinter) {
    const long other = host.AddProcess({.name = "Other"});
    EXPECT_EQ(FourD::AcquirePrinter(), 0);
    EXPECT_EQ(FourD::IsPrinterBusy(), 0);
    host.currentProcess = other;
    EXPECT_EQ(FourD::IsPrinterBusy(), 1);
    EXPECT_EQ(FourD::AcquirePrinter(), -20);
    EXPECT_EQ(FourD::ReleasePrinter(), -21);
    host.currentProcess = 1;
    EXPECT_EQ(FourD::ReleasePrinter(), 0);
    EXPECT_EQ(FourD::ReleasePrinter(), -21);
    Handle record = nullptr;
    ASSERT_EQ(FourD::GetPrintInfo(&record), 0);
    EXPECT_EQ(GetHandleSize(record), 120);
    DisposeHandle(record);
}

TEST_P(RecordsTest, TipsAndThePictureEditor) {
    EXPECT_EQ(FourD::TipsEnabled(), 1);
    EXPECT_EQ(FourD::CreateTip(PascalString("look here")), 0);
    EXPECT_EQ(FourD::SetTipsEnabled(0), 0);
    EXPECT_EQ(FourD::TipsEnabled(), 0);
    FourD::CreateTip(PascalString("unseen"));
    EXPECT_THAT(host.tips, ElementsAre("look here"));

    Handle picture = nullptr;
    EXPECT_EQ(FourD::EditPict(&picture), 0); // the user cancels
    EXPECT_EQ(picture, nullptr);
    for (const char* drawn : {"a line", "a longer line"}) {
        host.pictureEdits = {drawn};
        EXPECT_EQ(FourD::EditPict(&picture), 1);
        EXPECT_EQ(OwnedHandle::BytesOf(picture), drawn);
    }
    DisposeHandle(picture);
}

} // namespace
