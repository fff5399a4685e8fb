#include "testhost/recordings/Values.h"

#include "testhost/values/Scalars.h"
#include "testhost/values/Strings.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>

using namespace Recording;

namespace {
constexpr size_t contentsOfBlock = offsetof(ValueBlock, real);
constexpr size_t longestShown = 100; // bytes of a text
constexpr size_t mostElements = 20;
constexpr size_t mostDepth = 4; // rows of arrays, and what pointers lead to

template <typename Record>
Record Load(const std::vector<unsigned char>& bytes, size_t offset) {
    Record record{};
    if (offset < bytes.size()) {
        std::memcpy(&record, &bytes[offset], std::min(sizeof record, bytes.size() - offset));
    }
    return record;
}

std::string TextOf(std::span<const unsigned char> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Of bytes that are no text nobody wants to see many.
std::string ShortQuoted(const std::string& text) {
    const auto isControl = [](char character) {
        return character >= 0 && character < ' ' && character != '\r' && character != '\n' &&
               character != '\t';
    };
    constexpr size_t mostBinary = 16;
    if (text.size() > mostBinary && std::ranges::any_of(text, isControl)) {
        return std::to_string(text.size()) + " bytes, " + Quoted(text.substr(0, mostBinary)) +
               "...";
    }
    if (text.size() <= longestShown) {
        return Quoted(text);
    }
    return Quoted(text.substr(0, longestShown)) + "... (" + std::to_string(text.size()) + " bytes)";
}

std::string UnitsText(const std::vector<unsigned char>& bytes) {
    std::vector<unsigned short> units(bytes.size() / sizeof(unsigned short));
    std::memcpy(units.data(), bytes.data(), units.size() * sizeof(unsigned short));
    return TextOfUnits(units);
}

// Describes what a crossing handed over.
class Describer {
  public:
    explicit Describer(const CrossingContents& itsContents) : contents(itsContents) {}

    std::string Item(unsigned number) const { return Item(number, 0); }

  private:
    std::string Item(unsigned number, size_t depth) const {
        const RecordedItem& item = contents.items[number - 1];
        const std::vector<unsigned char>& bytes = item.bytes;
        if (item.IsUnknown()) {
            return "?";
        }
        if (bytes.empty() || item.head.isSlot != 0) {
            return {};
        }
        switch (item.head.form) {
        case Recording::Form::PascalString:
        case Recording::Form::CString:
        case Recording::Form::Bytes:
            return Raw(item) + Part(item);
        case Recording::Form::Units:
            return "unicode " + ShortQuoted(UnitsText(bytes));
        case Recording::Form::Event:
        case Recording::Form::AreaEvent:
            return Scalar(ValueKind::Event, bytes);
        case Recording::Form::Rect:
            return Scalar(ValueKind::Rect, bytes);
        case Recording::Form::Value:
            return Block(number, depth);
        case Recording::Form::Target:
            // A text has a handle in the same place, and may be as long as the type's number.
            if (const RecordedItem* target =
                    Below(number, offsetof(ValueBlock, pointer), Target::Handle);
                target != nullptr && target->head.form == Recording::Form::Target) {
                return Block(number, depth);
            }
            [[fallthrough]];
        case Recording::Form::Parameter:
            return Stored(number, static_cast<ValueKind>(item.head.detail), depth);
        case Recording::Form::Result:
            return Result(number, static_cast<ValueKind>(item.head.detail), depth);
        case Recording::Form::Word:
            return ::Describe(LongValue(Load<long>(bytes, 0)));
        case Recording::Form::TextEdit:
            return Handle(number, offsetof(TERec, hText));
        default:
            return {};
        }
    }

    // How much is there of what the recorder has cut.
    static std::string Part(const RecordedItem& item) {
        return item.IsCut() ? " (" + item.Extent() + ")" : std::string();
    }

    static std::string Raw(const RecordedItem& item) {
        std::span<const unsigned char> bytes = item.bytes;
        if (item.head.form == Recording::Form::PascalString) {
            bytes = bytes.subspan(1).first(std::min<size_t>(bytes[0], bytes.size() - 1));
        } else if (item.head.form == Recording::Form::CString) {
            bytes = bytes.first(static_cast<size_t>(
                std::ranges::find(bytes, static_cast<unsigned char>(0)) - bytes.begin()));
        }
        return ShortQuoted(TextOf(bytes));
    }

    static std::string Scalar(ValueKind kind, std::vector<unsigned char> bytes) {
        bytes.resize(std::max(bytes.size(), ScalarSize(kind))); // a text's end is not stored
        return ::Describe(FetchScalar(kind, bytes.data()));
    }

    const RecordedItem* Below(unsigned parent, size_t offset, Target target) const {
        return contents.Find(parent, offset, target);
    }

    unsigned NumberOf(const RecordedItem& item) const {
        return static_cast<unsigned>(&item - contents.items.data()) + 1;
    }

    std::string Handle(unsigned parent, size_t offset) const {
        const RecordedItem* handle = Below(parent, offset, Target::Handle);
        if (handle == nullptr) {
            return "null";
        }
        return handle->IsUnknown() ? "?" : ShortQuoted(TextOf(handle->bytes)) + Part(*handle);
    }

    std::string Text(unsigned parent, size_t offset) const {
        const auto text = Load<TextBlock>(contents.items[parent - 1].bytes, offset);
        const RecordedItem* handle =
            Below(parent, offset + offsetof(TextBlock, text), Target::Handle);
        if (handle == nullptr) {
            return "\"\"";
        }
        if (handle->IsUnknown()) {
            return "?";
        }
        const size_t length = std::min<size_t>(static_cast<size_t>(std::max<short>(text.length, 0)),
                                               handle->bytes.size());
        return ShortQuoted(TextOf(std::span(handle->bytes).first(length))) + Part(*handle);
    }

    std::string Unicode(unsigned parent, size_t offset) const {
        const RecordedItem* units =
            Below(parent, offset + offsetof(FDStringBlock, units), Target::Memory);
        return units != nullptr ? ShortQuoted(UnitsText(units->bytes)) : "\"\"";
    }

    std::string Stored(unsigned number, ValueKind kind, size_t depth) const {
        std::string name(KindName(kind));
        switch (kind) {
        case ValueKind::None:
            return Raw(contents.items[number - 1]);
        case ValueKind::Text:
            return name + " " + Text(number, 0);
        case ValueKind::Picture:
        case ValueKind::HandleBytes:
            return name + " " + Handle(number, 0);
        default:
            return ScalarSize(kind) != 0 ? Scalar(kind, contents.items[number - 1].bytes)
                                         : Block(number, depth);
        }
    }

    std::string Result(unsigned number, ValueKind kind, size_t depth) const {
        if (kind == ValueKind::Picture) {
            return "picture " + Handle(number, 0);
        }
        if (const RecordedItem* storage = Below(number, 0, Target::Memory)) {
            return Item(NumberOf(*storage), depth);
        }
        return Scalar(kind, contents.items[number - 1].bytes);
    }

    std::string Block(unsigned number, size_t depth) const {
        const std::vector<unsigned char>& bytes = contents.items[number - 1].bytes;
        const unsigned char type = bytes[0];
        const ValueKind kind = BlockKind(type);
        std::string name(KindName(kind));
        switch (kind) {
        case ValueKind::None:
            return "a value of type " + std::to_string(type);
        case ValueKind::Undefined:
            return name;
        case ValueKind::Text:
            return name + " " + Text(number, contentsOfBlock);
        case ValueKind::UnicodeText:
            return name + " " + Unicode(number, contentsOfBlock);
        case ValueKind::Blob:
            return name + " " + Handle(number, contentsOfBlock + offsetof(BlobBlock, data));
        case ValueKind::Picture:
            return name;
        case ValueKind::Time:
            return name + " " + std::to_string(Load<long>(bytes, contentsOfBlock));
        case ValueKind::String: {
            const size_t text = offsetof(ValueBlock, string.string);
            const auto from = static_cast<std::ptrdiff_t>(std::min(text, bytes.size()));
            return Scalar(kind, {bytes.begin() + from, bytes.end()});
        }
        case ValueKind::Pointer: {
            const RecordedItem* target = Below(number, contentsOfBlock, Target::Handle);
            return target == nullptr || depth == mostDepth
                       ? name
                       : name + " " + Item(NumberOf(*target), depth + 1);
        }
        default:
            return IsArray(kind) ? Array(number, contentsOfBlock, kind, depth)
                                 : Scalar(kind, {bytes.begin() + contentsOfBlock, bytes.end()});
        }
    }

    // `array Kind element ...`, from element 1 on.
    std::string Array(unsigned parent, size_t offset, ValueKind kind, size_t depth) const {
        const auto array = Load<ArrayBlock>(contents.items[parent - 1].bytes, offset);
        const RecordedItem* storage =
            Below(parent, offset + offsetof(ArrayBlock, elements), Target::Handle);
        std::string text(KindName(kind));
        const size_t size = ElementSize(kind);
        if (storage == nullptr || size == 0) {
            return text + " of " + std::to_string(array.count) + " elements";
        }
        const size_t last = std::min<size_t>(static_cast<size_t>(std::max(array.count, 0L)),
                                             storage->bytes.size() / size);
        for (size_t index = 1;
             index <= std::min(last, mostElements) && (index + 1) * size <= storage->bytes.size();
             ++index) {
            text += Element(NumberOf(*storage), index * size, kind, depth);
        }
        return text +
               (last > mostElements ? " ... (" + std::to_string(array.count) + " elements)" : "");
    }

    // 0: that of others is only counted.
    static size_t ElementSize(ValueKind kind) {
        switch (kind) {
        case ValueKind::LongArray:
            return sizeof(long);
        case ValueKind::IntegerArray:
            return sizeof(short);
        case ValueKind::RealArray:
            return sizeof(double);
        case ValueKind::TextArray:
            return sizeof(TextBlock);
        case ValueKind::UnicodeTextArray:
            return sizeof(FDStringBlock);
        case ValueKind::ArrayOfArrays:
            return sizeof(ArrayRow);
        default:
            return 0;
        }
    }

    std::string Element(unsigned storage, size_t offset, ValueKind kind, size_t depth) const {
        const std::vector<unsigned char>& bytes = contents.items[storage - 1].bytes;
        switch (kind) {
        case ValueKind::LongArray:
            return " " + std::to_string(Load<long>(bytes, offset));
        case ValueKind::IntegerArray:
            return " " + std::to_string(Load<short>(bytes, offset));
        case ValueKind::RealArray:
            return ::Describe(RealValue(Load<double>(bytes, offset)))
                .substr(KindName(ValueKind::Real).size());
        case ValueKind::TextArray:
            return " " + Text(storage, offset);
        case ValueKind::UnicodeTextArray:
            return " " + Unicode(storage, offset);
        default: {
            const ValueKind row = BlockKind(bytes[offset]);
            return depth == mostDepth || !IsArray(row)
                       ? " /"
                       : " / " + Array(storage, offset + offsetof(ArrayRow, array), row, depth + 1);
        }
        }
    }

    const CrossingContents& contents;
};
} // namespace

std::string DescribeItem(const CrossingContents& contents, unsigned item) {
    return Describer(contents).Item(item);
}
