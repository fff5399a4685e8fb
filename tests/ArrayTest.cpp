// The host's arrays in place: elements of every type, sizes and what elements own, rows, locks, and
// counts that the storage does not hold.

#include "data/Array.h"

#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "tests/Fixture.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>
#include <utility>

namespace {

/// The host is an engine host: Unicode arrays need one.
using ArrayTest = MemoryTest;

INSTANTIATE_TEST_SUITE_P(Memory, ArrayTest, OrdinaryAndStrict, MemoryName);

constexpr short Types[] = {13, 14, 15, 16, 17, 18, 19, 21, 22, 34};

/// Disposes of everything at the end, also of what element 0 owns.
struct OwnedArray : CArray {
    using CArray::CArray;
    ~OwnedArray() {
        SetArraySize(0);
        PutText(0, "");
        if (IsArrayUnicode()) {
            AtPut(0, PascalString(""));
        }
    }
    void PutText(long index, const char* text) {
        const SArrayLocker locked(this);
        CTextBlock* element = nullptr;
        At(index, &element);
        if (element != nullptr) {
            element->SetTo(text);
        }
    }
    void PutRowText(long row, long column, const char* text) {
        const SArrayLocker locked(this);
        const bool wasLocked = IsRowLocked(row);
        LockRow(row);
        CTextBlock* element = nullptr;
        At(row, column, &element);
        if (element != nullptr) {
            element->SetTo(text);
        }
        if (!wasLocked) {
            UnlockRow(row);
        }
    }
    /// Through the row seen as an array of its own.
    template <typename Value>
    void PutInRow(long row, long column, const Value& value) {
        const SArrayLocker locked(this);
        const auto* itsRow = static_cast<ArrayRow*>(ComputeAddress(row));
        ValueBlock alone{};
        alone.type = itsRow->type;
        alone.array = itsRow->array;
        CArray::Of(alone).AtPut(column, value);
    }
    /// The type of the rows of a new two-dimensional array, with the storage of row 0.
    void MakeRows(short type) { SetTypeOf(0, type); }
    /// What a row says about itself.
    void SetTypeOf(long row, short type) {
        if (auto* found = static_cast<ArrayRow*>(ComputeAddress(row)); found != nullptr) {
            found->type = static_cast<unsigned char>(type);
        }
    }
};

TEST_P(ArrayTest, NewArraysHaveElement0Only) {
    constexpr long Sizes[] = {12, 8, 2, 4, 6, 6, 4, 256, 1, 16};
    for (size_t place = 0; place < std::size(Types); ++place) {
        OwnedArray array(Types[place]);
        EXPECT_TRUE(array.IsArray());
        EXPECT_EQ(array.GetElementSize(), Sizes[place]) << Types[place];
        EXPECT_EQ(array.GetArraySize(), 0);
        EXPECT_NE(array.ComputeAddress(0), nullptr);
        EXPECT_EQ(array.ComputeAddress(1), nullptr);
        EXPECT_EQ(array.ComputeAddress(-1), nullptr);
    }
    for (const long type : {0, 5, 12, 20, 23, 33, 35}) {
        CArray none(type);
        EXPECT_FALSE(none.IsArray()) << type;
        EXPECT_EQ(none.GetElementSize(), 0);
        EXPECT_EQ(none.SetArraySize(3), 0);
        EXPECT_EQ(none.SetArraySize(-1), ResultCode::BadParameter);
        EXPECT_EQ(none.GetArraySize(), 0);
    }
}

TEST_P(ArrayTest, EachTestKnowsItsTypeOnly) {
    struct Row {
        short type;
        bool (CArray::*isType)() const;
        bool (CArray::*isTypeOfRows)() const;
    };
    constexpr bool (CArray::*None)() const = nullptr;
    const Row rows[] = {{5, &CArray::IsUndefined, None},
                        {13, &CArray::IsArrayArray, &CArray::Is2DArrayArray},
                        {14, &CArray::IsArrayReal, &CArray::Is2DArrayReal},
                        {15, &CArray::IsArrayInteger, &CArray::Is2DArrayInteger},
                        {16, &CArray::IsArrayLongint, &CArray::Is2DArrayLongint},
                        {17, &CArray::IsArrayDate, &CArray::Is2DArrayDate},
                        {18, &CArray::IsArrayText, &CArray::Is2DArrayText},
                        {19, &CArray::IsArrayPicture, &CArray::Is2DArrayPicture},
                        {21, &CArray::IsArrayString, &CArray::Is2DArrayString},
                        {22, &CArray::IsArrayBoolean, &CArray::Is2DArrayBoolean},
                        {34, &CArray::IsArrayUnicode, None}};
    for (const Row& row : rows) {
        const CArray array(row.type);
        OwnedArray twoDimensional(13);
        twoDimensional.MakeRows(row.type);
        EXPECT_EQ(twoDimensional.Is2DArray(), row.type != 5) << row.type;
        EXPECT_FALSE(array.Is2DArray() && row.type != 13);
        for (const Row& other : rows) {
            const bool same = row.type == other.type;
            EXPECT_EQ((array.*other.isType)(), same) << row.type << " " << other.type;
            if (other.isTypeOfRows != None) {
                EXPECT_EQ((twoDimensional.*other.isTypeOfRows)(), same) << row.type;
                EXPECT_FALSE((array.*other.isTypeOfRows)());
            }
        }
    }
}

/// Reads element 2 of 3 in row 2 of 2, and no other type's element, nor one outside.
template <typename Value>
void CheckRowElements(short type, const Value& value) {
    for (const short each : Types) {
        OwnedArray array(13);
        array.MakeRows(each == 13 ? short{5} : each); // there are no rows of rows
        array.SetArraySize(2);
        array.SetRowSize(2, 3);
        array.PutInRow(2, 2, value);
        for (const auto& [row, column] :
             {std::pair{2L, 2L}, {2, 3}, {2, 4}, {2, -1}, {1, 0}, {1, 2}, {3, 2}, {-1, 2}}) {
            Value read = value;
            array.At(row, column, read);
            const bool there = each == type && row == 2 && column == 2;
            const Value expected = there ? value : Value{};
            EXPECT_EQ(std::memcmp(&read, &expected, sizeof read), 0)
                << each << ": " << row << " " << column;
        }
        for (const auto& [row, size] : {std::pair{2L, 4U}, {1, 1}, {3, 0}, {-1, 0}}) {
            EXPECT_EQ(array.RowElements<Value>(row).size(), each == type ? size : 0) << each;
        }
        if (each == type) {
            array.RowElements<Value>(2)[3] = value;
            const auto view = array.RowElements<Value>(2);
            EXPECT_EQ(std::memcmp(&view[2], &value, sizeof value), 0) << each;
            EXPECT_EQ(std::memcmp(&view[3], &value, sizeof value), 0) << each;
        }
    }
}

TEST_P(ArrayTest, ElementsOfRowsAreReadAndWritten) {
    CheckRowElements<short>(15, -2);
    CheckRowElements<long>(16, -70000);
    CheckRowElements<double>(14, -0.5);
    CheckRowElements<unsigned char>(22, 1);
    CheckRowElements<DateBlock>(17, {21, 11, 2026});

    OwnedArray strings(13);
    strings.MakeRows(21);
    strings.SetArraySize(2);
    strings.SetRowSize(2, 2);
    strings.PutInRow(2, 1, static_cast<const unsigned char*>(PascalString("string")));
    OwnedArray reals(13);
    reals.MakeRows(14);
    reals.SetArraySize(2);
    reals.SetRowSize(2, 2);
    reals.AtPut(2, 1, 0.5);
    reals.AtPut(2, 2, 7L); // of another type
    reals.AtPut(2, 3, 9.0);
    for (const auto& [row, column, text, real] :
         {std::tuple{2L, 1L, "string", 0.5}, {2, 2, "", 0}, {2, 3, "", 0}, {1, 1, "", 0}}) {
        PascalString string("before");
        strings.At(row, column, string);
        EXPECT_EQ(string.Text(), text) << row << " " << column;
        double read = 9;
        reals.At(row, column, read);
        EXPECT_EQ(read, real) << row << " " << column;
    }
}

/// Writes and reads element 2 of 3, and no other type's element, nor one outside.
template <typename Value>
void CheckElements(short type, const Value& value, const Value& zero) {
    for (const short each : Types) {
        OwnedArray array(each);
        ASSERT_EQ(array.SetArraySize(3), 0);
        for (const long index : {2L, 4L, -1L}) {
            array.AtPut(index, value);
            Value read = value;
            array.At(index, read);
            EXPECT_EQ(read, each == type && index == 2 ? value : zero) << each << " " << index;
        }
        Value neighbour = value;
        array.At(3, neighbour);
        EXPECT_EQ(neighbour, zero);

        const auto view = array.template Elements<Value>();
        EXPECT_EQ(view.size(), each == type ? 4U : 0U) << each;
        if (!view.empty()) {
            view[3] = view[2];
            array.At(3, neighbour);
            EXPECT_EQ(neighbour, value);
        }
    }
}

TEST_P(ArrayTest, ScalarsGoInAndOut) {
    CheckElements<short>(15, -2, 0);
    CheckElements<long>(16, -70000, 0);
    CheckElements<double>(14, 0.5, 0);
    CheckElements<unsigned char>(22, 1, 0);

    OwnedArray dates(17);
    dates.SetArraySize(1);
    dates.AtPut(1, DateBlock{21, 11, 2026});
    DateBlock date{};
    dates.At(1, date);
    EXPECT_EQ(date.day * 10000 + date.month * 100 + date.year % 100, 211126);
    EXPECT_EQ(dates.Elements<DateBlock>()[1].year, 2026);
    dates.At(2, date);
    EXPECT_EQ(date.day, 0);

    OwnedArray pictures(19);
    pictures.SetArraySize(2);
    auto** const picture = reinterpret_cast<Picture**>(NewHandle(12)); // goes with the array
    pictures.AtPut(2, picture);
    for (const long index : {-1, 1, 2, 3}) {
        Picture** read = picture;
        pictures.At(index, &read);
        EXPECT_EQ(read, index == 2 ? picture : nullptr) << index;
    }
    EXPECT_EQ(pictures.Elements<Picture**>()[2], picture);

    OwnedArray texts(18);
    texts.SetArraySize(1);
    texts.PutText(1, "text");
    EXPECT_EQ(texts.Elements<CTextBlock>()[1].GetLength(), 4);

    OwnedArray longs(16);
    EXPECT_EQ(longs.Find(0), -1); // element 0 does not count
    longs.SetArraySize(4);
    longs.AtPut(3, 7L);
    longs.AtPut(4, 7L);
    EXPECT_EQ(longs.Find(7), 3);
    EXPECT_EQ(longs.Find(8), -1);
}

static_assert(ArrayElement<long> && !ArrayElement<int> && !ArrayElement<bool> &&
              !ArrayElement<float> && !ArrayElement<const long> && !ArrayElement<ArrayRow>);

/// Elements in the view of the array, and in that of row 1, each of its own type.
std::pair<size_t, size_t> SizesOfViews(const CArray& array) {
    const auto sizes = [&]<typename... Element>(std::type_identity<Element>...) {
        return std::pair{(array.Elements<Element>().size() + ...),
                         (array.RowElements<Element>(1).size() + ...)};
    };
    return sizes(std::type_identity<short>(), std::type_identity<long>(),
                 std::type_identity<double>(), std::type_identity<unsigned char>(),
                 std::type_identity<DateBlock>(), std::type_identity<Picture**>(),
                 std::type_identity<CTextBlock>());
}

TEST_P(ArrayTest, ViewsEndWithTheLastWholeElement) {
    for (const short type : std::initializer_list<short>{14, 15, 16, 17, 18, 19, 22}) {
        for (const long count : {0x7FFFFFFFL, 2L, 1L, -1L}) {
            OwnedArray array(type);
            OwnedArray table(13);
            table.MakeRows(type);
            ASSERT_EQ(array.SetArraySize(2) + table.SetArraySize(1) + table.SetRowSize(1, 2), 0);
            auto* row = static_cast<ArrayRow*>(table.ComputeAddress(1));
            row->array.count = count;
            array.Value().array.count = count;
            const size_t whole = count < 0 ? 0 : static_cast<size_t>(std::min(count, 2L)) + 1;
            EXPECT_EQ(SizesOfViews(array), std::pair(whole, size_t{0})) << type << " " << count;
            EXPECT_EQ(SizesOfViews(table), std::pair(size_t{0}, whole)) << type << " " << count;

            const long cut = array.GetElementSize() * 3 - 1;
            SetHandleSize(array.Value().array.elements, cut);
            EXPECT_EQ(SizesOfViews(array).first, std::min(whole, size_t{2})) << type;
            EXPECT_EQ(array.ComputeAddress(2), nullptr) << type;
            array.Value().array.count = 1;
        }
    }
}

TEST_P(ArrayTest, StringsAreCutToTheirSlots) {
    OwnedArray array(21);
    const short slotSize = 5;
    std::memcpy(*array.Value().array.elements, &slotSize, sizeof slotSize);
    ASSERT_EQ(array.SetArraySize(2), 0);
    EXPECT_EQ(GetHandleSize(array.Value().array.elements), 2 + 3 * 5);
    PascalString read("before");
    array.AtPut(1, PascalString("abcdef"));
    array.At(1, read);
    EXPECT_EQ(read.Text(), "abcd");
    array.At(2, read); // cleared, and not written over
    EXPECT_EQ(read.Text(), "");
    *static_cast<unsigned char*>(array.ComputeAddress(2)) = 255; // a broken length
    array.At(2, read);
    EXPECT_EQ(read.Text().size(), 4U);
    array.At(3, read);
    EXPECT_EQ(read.Text(), "");
}

TEST_P(ArrayTest, StringsOfEveryLengthKeepToThemselves) {
    OwnedArray array(21);
    ASSERT_EQ(array.SetArraySize(2), 0);
    Str255 string;
    for (size_t place = 0; place < sizeof string; ++place) {
        string[place] = static_cast<unsigned char>(place * 7 + 1);
    }
    for (const size_t length : {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 17, 253, 254, 255}) {
        string[0] = static_cast<unsigned char>(length);
        array.AtPut(1, string);
        array.AtPut(1, static_cast<unsigned char*>(array.ComputeAddress(1))); // the same one
        Str255 read;
        std::memset(read, 0x55, sizeof read);
        array.At(1, read);
        EXPECT_EQ(std::memcmp(read, string, length + 1), 0) << length;
        EXPECT_TRUE(std::all_of(read + length + 1, std::end(read), [](unsigned char byte) {
            return byte == 0x55;
        })) << length;
        EXPECT_EQ(*static_cast<unsigned char*>(array.ComputeAddress(2)), 0) << length;
    }
}

/// Fills elements 1 to 5, so that each owns something where the type allows it.
void FillOwners(OwnedArray& array) {
    for (long index = 1; index <= 5; ++index) {
        array.PutText(index, "text");
        array.AtPut(index, PascalString("unicode"));
        if (array.IsArrayPicture() && array.ComputeAddress(index) != nullptr) {
            array.AtPut(index, reinterpret_cast<Picture**>(NewHandle(4)));
        }
        array.SetRowSize(index, 2);
        array.PutRowText(index, 1, "row");
        array.PutRowText(index, 0, "row");
    }
}

TEST_P(ArrayTest, RemovedElementsReleaseWhatTheyOwn) {
    struct Row {
        short type;
        long handles; ///< per element
        long strings;
    };
    for (const Row& row :
         {Row{16, 0, 0}, {18, 1, 0}, {19, 1, 0}, {21, 0, 0}, {34, 0, 1}, {13, 3, 0}}) {
        const long before = ToolboxLiveHandles();
        {
            OwnedArray array(row.type);
            array.MakeRows(row.type == 13 ? 18 : 0);
            for (const long removed : {3L, 1L}) { // again: grown elements are clear
                ASSERT_EQ(array.SetArraySize(5), 0);
                FillOwners(array);
                array.SetCurrentIndex(4);
                array.SetArraySize(5 - removed);
                EXPECT_EQ(array.GetCurrentIndex(), removed == 3 ? 0 : 4);
                EXPECT_EQ(ToolboxLiveHandles(), before + 1 + row.handles * (5 - removed))
                    << row.type;
                EXPECT_EQ(host.strings.Live(), row.strings * (5 - removed));
                array.SetArraySize(0);
            }
            array.SetArraySize(1);
            const auto* first = static_cast<const char*>(array.ComputeAddress(1));
            const std::string bytes(first, static_cast<size_t>(array.GetElementSize()));
            if (row.type != 13 && row.type != 21) {
                EXPECT_EQ(bytes, std::string(bytes.size(), '\0'));
            }
        }
        EXPECT_EQ(ToolboxLiveHandles(), before);
    }
}

TEST_P(ArrayTest, RemovedRowsReleaseWhatRow0SaysTheyHold) {
    struct Row {
        short typeOfRows;
        short itself;
        long left; ///< texts that nobody can tell of any more
    };
    for (const Row& row : {Row{18, 18, 0}, {18, 0, 0}, {18, 16, 2}, {18, 13, 2}, {13, 13, 2}}) {
        const long before = ToolboxLiveHandles();
        OwnedArray array(13);
        array.MakeRows(18);
        array.SetArraySize(2);
        array.SetRowSize(2, 1);
        array.PutRowText(2, 0, "text");
        array.PutRowText(2, 1, "text");
        CTextBlock texts[2];
        const auto* last = static_cast<ArrayRow*>(array.ComputeAddress(2));
        std::memcpy(static_cast<void*>(texts), *last->array.elements, sizeof texts);
        array.SetTypeOf(0, row.typeOfRows);
        array.SetTypeOf(2, row.itself);
        EXPECT_EQ(array.SetArraySize(1), 0);
        EXPECT_EQ(ToolboxLiveHandles(), before + 2 + row.left) << row.itself;
        if (row.left > 0) {
            texts[0].SetLength(0);
            texts[1].SetLength(0);
        }
        // A row that holds the array itself.
        auto* first = static_cast<ArrayRow*>(array.ComputeAddress(1));
        DisposeHandle(std::exchange(first->array.elements, array.Value().array.elements));
        EXPECT_EQ(array.SetRowSize(1, 0), 0);
        EXPECT_EQ(array.SetArraySize(0), 0);
        EXPECT_EQ(ToolboxLiveHandles(), before + 1);
    }
}

TEST_P(ArrayTest, FullMemoryLeavesTheCount) {
    for (const short type : Types) {
        OwnedArray array(type);
        if (type == 13) {
            array.MakeRows(16);
        }
        array.SetArraySize(2);
        const long before = ToolboxLiveHandles();
        for (const long allocations : {1L, 2L, 3L}) { // the storage, the first row, the next one
            ToolboxFailAllocation(allocations);
            const long result = array.SetArraySize(5);
            const bool failed = ToolboxFailAllocation(0) == 0;
            EXPECT_EQ(result, failed ? ResultCode::MemoryFull : 0) << type << " " << allocations;
            EXPECT_EQ(array.GetArraySize(), failed ? 2 : 5);
            array.SetArraySize(2);
            EXPECT_EQ(ToolboxLiveHandles(), before);
        }
        EXPECT_EQ(array.SetArraySize(0x7FFFFFFF), ResultCode::MemoryFull);
        EXPECT_EQ(array.GetArraySize(), 2);
    }
}

TEST_P(ArrayTest, CountsBeyondTheStorageLeadNowhere) {
    for (const short type : Types) {
        for (const long count : {1000000L, 0x7FFFFFFFL, -1L, static_cast<long>(0x80000000)}) {
            OwnedArray array(type);
            if (type == 13) {
                array.MakeRows(16);
            }
            array.SetArraySize(2);
            array.Value().array.count = count;
            FillOwners(array);
            for (const long index : {2L, 3L, 999999L, 0x40000000L, 0x7FFFFFFEL}) {
                EXPECT_EQ(array.ComputeAddress(index) != nullptr, index == 2 && count > 0);
                array.AtPut(index, 1L);
                array.AtPut(index, 1.0);
                array.AtPut(index, PascalString("string"));
                array.AtPut(index, index, 1L);
            }
            EXPECT_EQ(array.Find(77), -1);
            if (count < 0) {
                EXPECT_EQ(array.SetArraySize(1), ResultCode::BadParameter);
                array.Value().array.count = 2;
                continue;
            }
            EXPECT_EQ(array.SetArraySize(4), 0); // what was not in the storage is empty
            CTextBlock* text = nullptr;
            array.At(4, &text);
            EXPECT_TRUE(text == nullptr || text->GetLength() == 0);
        }
    }
}

TEST_P(ArrayTest, OtherValuesAreNoArrays) {
    for (const unsigned char type : {ValueType::Real, ValueType::String, ValueType::Pointer}) {
        ValueBlock value;
        std::memset(static_cast<void*>(&value), 0x55, sizeof value);
        value.type = type;
        CArray& array = CArray::Of(value);
        array.AtPut(1, PascalString("x"));
        array.AtPut(1, 1L);
        CTextBlock* text = nullptr;
        array.At(1, &text);
        EXPECT_EQ(text, nullptr);
        EXPECT_EQ(array.ComputeAddress(1), nullptr);
        EXPECT_EQ(array.Find(0x55555555), -1);
        EXPECT_EQ(array.Get2DType(), 0);
        EXPECT_EQ(array.GetArraySize() + array.GetRowSize(1) + array.SetArraySize(9), 0);
        {
            const SArrayLocker locked(&array);
            const SArrayRowLocker rowLocked(&array, 1);
            array.Lock();
            EXPECT_FALSE(array.IsLocked() || array.IsRowLocked(1));
            array.Unlock();
        }
        EXPECT_EQ(value.array.count, 0x55555555);
        EXPECT_EQ(Handle{value.array.elements}, reinterpret_cast<Handle>(0x55555555));
    }
    CArray none;
    none.Lock();
    EXPECT_FALSE(none.IsLocked());
}

TEST_P(ArrayTest, RowsAreArraysOfTheTypeOfRow0) {
    OwnedArray array(13);
    array.MakeRows(16);
    ASSERT_EQ(array.SetArraySize(3), 0);
    EXPECT_TRUE(array.Is2DArrayLongint());
    EXPECT_TRUE(array.Is2DArray());
    EXPECT_FALSE(array.Is2DArrayText());
    EXPECT_EQ(array.SetRowSize(3, 2), 0);
    EXPECT_EQ(array.SetRowSize(4, 2), 0);
    EXPECT_EQ(array.SetRowSize(2, -1), ResultCode::BadParameter);
    EXPECT_EQ(array.GetRowSize(3) * 10 + array.GetRowSize(2) + array.GetRowSize(4), 20);
    array.AtPut(3, 2, 99L);
    array.AtPut(3, 1, 0.5); // of another type
    for (const auto& [row, column, expected] :
         {std::array{3L, 2L, 99L}, {3L, 1L, 0L}, {3L, 3L, 0L}, {4L, 1L, 0L}, {-1L, 0L, 0L}}) {
        long value = -1;
        array.At(row, column, value);
        EXPECT_EQ(value, expected) << row << " " << column;
    }
    short other = -1;
    array.At(3, 2, other);
    EXPECT_EQ(other, 0);
    for (const short itself :
         std::initializer_list<short>{0, 14, 13}) { // what a row says about itself does not count
        array.SetTypeOf(3, itself);
        EXPECT_EQ(array.SetRowSize(3, 4), 0);
        array.AtPut(3, 4, 44L);
        for (const auto& [column, expected] : {std::pair{2L, 99L}, {4, 44}}) {
            long value = -1;
            array.At(3, column, value);
            EXPECT_EQ(value, expected) << itself;
        }
        EXPECT_EQ(array.SetRowSize(3, 2), 0);
    }
    array.SetTypeOf(3, 16);
    array.SetTypeOf(0, 13); // rows of rows are not followed
    EXPECT_EQ(array.SetRowSize(3, 9), 0);
    EXPECT_EQ(array.GetRowSize(3), 2);
    array.SetTypeOf(0, 16);
}

TEST_P(ArrayTest, GuardsPutBackTheStateThatTheyFound) {
    OwnedArray array(13);
    array.MakeRows(16);
    array.SetArraySize(2);
    for (const bool before : {false, true}) {
        before ? array.Lock() : array.Unlock();
        before ? array.LockRow(1) : array.UnlockRow(1);
        {
            const SArrayLocker locked(&array);
            const SArrayRowLocker rowLocked(&array, 1);
            EXPECT_TRUE(array.IsLocked() && array.IsRowLocked(1));
            before ? array.Unlock() : array.Lock();
            before ? array.UnlockRow(1) : array.LockRow(1);
        }
        EXPECT_EQ(array.IsLocked(), before);
        EXPECT_EQ(array.IsRowLocked(1), before);
        EXPECT_FALSE(array.IsRowLocked(2) || array.IsRowLocked(3));
        { const SArrayRowLocker none(nullptr, 1), row0(&array, 0); }
        EXPECT_EQ(array.SetRowSize(1, before ? 1 : 3), 0);
        EXPECT_EQ(array.IsLocked(), before);
    }
    array.Unlock();
    array.UnlockRow(1);
}

TEST_P(ArrayTest, UnicodeElementsAreTheHosts) {
    OwnedArray array(34);
    array.SetArraySize(2);
    const auto textOf = [&](long index) {
        FDStringBlock element{};
        std::memcpy(&element, array.ComputeAddress(index), sizeof element);
        return host.strings.Text(element);
    };
    array.AtPut(1, PascalString("one"));
    const unsigned short two[] = {'t', 'w', 'o', 0};
    array.AtPut(1, two); // the former goes
    EXPECT_EQ(textOf(1), "two");
    EXPECT_EQ(host.strings.Live(), 1);
    array.AtPut(1, host.strings.Create("three"));
    array.AtPut(2, PascalString("gone"));
    array.AtPut(2, PascalString(""));                           // an empty text needs no string
    array.AtPut(1, static_cast<const unsigned char*>(nullptr)); // nothing, here and below
    array.AtPut(1, static_cast<const unsigned short*>(nullptr));
    EXPECT_EQ(host.strings.Live(), 1);
    EXPECT_EQ(textOf(1) + textOf(2), "three");
    host.FailNext("SetFDString", -1234);
    array.AtPut(1, two);
    EXPECT_EQ(textOf(1), "");
    EXPECT_EQ(host.strings.Live(), 0);
    array.AtPut(3, two);
    EXPECT_EQ(host.strings.Live(), 0);

    // What is not all zero is the host's, even without units; the host tells that it knows no such.
    host.log.Clear();
    for (const FDStringBlock& strange :
         {FDStringBlock{1, nullptr, {0, 0}}, FDStringBlock{0, nullptr, {0, 1}}}) {
        for (const bool removed : {false, true}) {
            array.SetArraySize(2);
            array.AtPut(2, strange);
            array.AtPut(2, strange); // the same one stays
            EXPECT_TRUE(host.log.Named("DisposeFDString").empty());
            removed ? static_cast<void>(array.SetArraySize(1)) : array.AtPut(2, FDStringBlock{});
            EXPECT_EQ(host.log.Named("DisposeFDString").size(), 1U) << removed;
            host.log.Clear();
        }
    }
    EXPECT_EQ(TakeProblems().size(), 4U);
}

} // namespace
