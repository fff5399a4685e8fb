#include "testhost/session/Values.h"

#include "testhost/values/Scalars.h"

#include <cstdio>
#include <initializer_list>
#include <memory>

namespace {
constexpr long lowestShort = -0x8000;
constexpr long highestShort = 0x7FFF;
constexpr size_t longestString = 255;

std::vector<long> TakeShorts(Words& words, std::initializer_list<const char*> names) {
    std::vector<long> numbers;
    for (const char* name : names) {
        numbers.push_back(words.TakeNumber(name, lowestShort, highestShort));
    }
    return numbers;
}

// A string; "repeat 1000 "ab"" is one without having it written out.
std::string TakeBytes(Words& words, std::string_view what) {
    if (!words.TakeIf("repeat")) {
        return words.TakeString(what);
    }
    const auto count = static_cast<size_t>(words.TakeNumber("how often", 0));
    const std::string once = words.TakeString("what is repeated");
    words.CountRepeated(count, once.size());
    std::string all;
    for (size_t place = 0; place < count && !once.empty(); ++place) {
        all += once;
    }
    return all;
}

std::string TakeLimitedString(Words& words, std::string_view what, size_t longest) {
    std::string text = TakeBytes(words, what);
    if (text.size() > longest) {
        throw ScriptError(std::string(what) + " has at most " + std::to_string(longest) + " bytes");
    }
    return text;
}

long TakeBoolean(Words& words) {
    if (words.TakeIf("true")) {
        return 1;
    }
    return words.TakeIf("false") ? 0 : words.TakeNumber("'true', 'false' or a number", 0, 255);
}

std::vector<long> TakeEvent(Words& words) {
    std::vector<long> numbers = {words.TakeNumber("the event's kind", 0, 0xFFFF),
                                 words.TakeNumber("the event's message"),
                                 words.TakeNumber("the event's time in ticks")};
    for (long coordinate : TakeShorts(words, {"the event's v", "the event's h"})) {
        numbers.push_back(coordinate);
    }
    numbers.push_back(words.TakeNumber("the event's modifiers", 0, 0xFFFF));
    return numbers;
}

// The kind of an array from what follows "array".
ValueKind TakeArrayKind(Words& words) {
    const std::string name = "array " + words.TakeWord("a kind such as 'long' or 'text'");
    ValueKind kind = ValueKind::None;
    if (!FindKind(name, kind)) {
        throw ScriptError("unknown kind '" + name + "'");
    }
    return kind;
}

// Takes one more element when one comes next.
bool TakeElement(ValueKind kind, Words& words, std::vector<TypedValue>& elements) {
    switch (kind) {
    case ValueKind::Short:
    case ValueKind::Long:
        if (!words.IsNumber()) {
            return false;
        }
        break;
    case ValueKind::Text:
    case ValueKind::String:
    case ValueKind::UnicodeText:
        if (!words.IsString()) {
            return false;
        }
        break;
    default: { // what does not read as one ends the array
        const Words::Place before = words.Here();
        try {
            elements.push_back(TakeValueOf(kind, words));
            return true;
        } catch (const ScriptError&) {
            words.GoBackTo(before);
            if (words.TakeIf("repeat")) {
                throw; // it does begin as one
            }
            return false;
        }
    }
    }
    elements.push_back(TakeValueOf(kind, words));
    return true;
}

// "1 2 3", for strings behind the slot size, for rows of long "long / 1 2 / 3".
TypedValue TakeArray(ValueKind kind, Words& words) {
    long detail = 0;
    std::vector<TypedValue> elements;
    if (kind == ValueKind::ArrayOfArrays) {
        const ValueKind rows = TakeArrayKind(words);
        if (rows == ValueKind::ArrayOfArrays) {
            throw ScriptError("the rows of an array of arrays are no such arrays themselves");
        }
        while (words.TakeIf("/")) {
            elements.push_back(TakeArray(rows, words));
        }
        detail = static_cast<long>(rows);
    } else {
        if (kind == ValueKind::StringArray) {
            detail = words.TakeNumber("the size of the strings' slots", 1, 256);
        }
        while (TakeElement(ElementKind(kind), words, elements)) {
            if (kind == ValueKind::StringArray &&
                elements.back().texts.at(0).size() >= static_cast<size_t>(detail)) {
                throw ScriptError("a slot of " + std::to_string(detail) +
                                  " bytes has a length byte and at most " +
                                  std::to_string(detail - 1) + " of a string");
            }
        }
    }
    return ArrayValue(kind, std::move(elements), detail);
}

// Whether a tagged value can be a command's parameter; arrays are parameters themselves.
bool IsTaggedKind(ValueKind kind) {
    switch (kind) {
    case ValueKind::Real:
    case ValueKind::Text:
    case ValueKind::Date:
    case ValueKind::Undefined:
    case ValueKind::Boolean:
    case ValueKind::Long:
    case ValueKind::Time:
    case ValueKind::Pointer:
    case ValueKind::String:
    case ValueKind::Blob:
        return true;
    default:
        return false;
    }
}

// What a pointer points to, which may be a pointer in its turn.
TypedValue TakeTarget(Words& words) {
    constexpr int deepest = 20;
    static int depth = 0;
    if (depth == deepest) {
        throw ScriptError("pointers point to pointers too often");
    }
    ++depth;
    const std::unique_ptr<int, void (*)(int*)> back(&depth, [](int* counted) { --*counted; });
    return TakeValue(words);
}

TypedValue TakeTagged(Words& words) {
    ValueKind kind = TakeKind(words);
    if (!IsTaggedKind(kind)) {
        throw ScriptError("a value cannot be of the kind " + std::string(KindName(kind)));
    }
    return Tagged(TakeValueOf(kind, words));
}
} // namespace

ValueKind TakeKind(Words& words) {
    std::string name = words.TakeWord("a kind such as 'long' or 'text'");
    if (name == "array") {
        return TakeArrayKind(words);
    }
    ValueKind kind = ValueKind::None;
    if (!FindKind(name, kind)) {
        throw ScriptError("unknown kind '" + name + "'");
    }
    return kind;
}

TypedValue TakeDate(Words& words) {
    std::string text = words.TakeWord("a date such as 2026-11-21");
    int year = 0;
    int month = 0;
    int day = 0;
    int length = 0;
    if (std::sscanf(text.c_str(), "%4d-%2d-%2d%n", &year, &month, &day, &length) != 3 ||
        static_cast<size_t>(length) != text.size() || year < 0 || month < 0 || day < 0) {
        throw ScriptError("'" + text + "' is no date: write it as 2026-11-21");
    }
    if (!IsDate(year, month, day)) {
        throw ScriptError("no calendar has the date " + text + "; 0000-00-00 is the empty one");
    }
    return DateValue(static_cast<short>(year), static_cast<short>(month), static_cast<short>(day));
}

TypedValue TakeValueOf(ValueKind kind, Words& words) {
    TypedValue value{.kind = kind};
    switch (kind) {
    case ValueKind::None:
    case ValueKind::Undefined:
        return value;
    case ValueKind::Short:
        value.numbers = TakeShorts(words, {"a short"});
        return value;
    case ValueKind::Long:
        return LongValue(words.TakeNumber("a long"));
    case ValueKind::Time:
        value.numbers = {words.TakeNumber("a time in seconds")};
        return value;
    case ValueKind::Boolean:
        value.numbers = {TakeBoolean(words)};
        return value;
    case ValueKind::Real:
    case ValueKind::Extended:
        value.real = words.TakeReal("a real");
        return value;
    case ValueKind::String:
        return StringValue(TakeLimitedString(words, "a string", longestString));
    case ValueKind::Text:
        if (words.TakeIf("null")) {
            return TextValue(""); // whose handle is null
        }
        return TextValue(TakeLimitedString(words, "a text", longestText));
    case ValueKind::Date:
        return TakeDate(words);
    case ValueKind::Rect:
        value.numbers = TakeShorts(words, {"top", "left", "bottom", "right"});
        return value;
    case ValueKind::Event:
        value.numbers = TakeEvent(words);
        return value;
    case ValueKind::Picture:
    case ValueKind::HandleBytes:
    case ValueKind::Blob:
        if (!words.TakeIf("null")) {
            value.texts = {TakeBytes(words, "bytes")};
        }
        return value;
    case ValueKind::UnicodeText:
        return UnicodeValue(TakeBytes(words, "a text"));
    case ValueKind::Value:
        return TakeTagged(words);
    case ValueKind::Pointer:
        return words.TakeIf("null") ? value : PointerTo(TakeTarget(words));
    default:
        return TakeArray(kind, words);
    }
}

TypedValue TakeValue(Words& words) {
    ValueKind kind = TakeKind(words);
    if (kind == ValueKind::Time || kind == ValueKind::Blob || kind == ValueKind::Undefined) {
        throw ScriptError("'" + std::string(KindName(kind)) + "' stands in a value only: 'value " +
                          std::string(KindName(kind)) + "'");
    }
    TypedValue value = TakeValueOf(kind, words);
    if (IsUnicode(value)) {
        throw ScriptError("Unicode texts stand in variables only");
    }
    return value;
}

TypedValue TakeVariableValue(Words& words) {
    ValueKind kind = TakeKind(words);
    if (!IsTaggedKind(kind) && !IsArray(kind) && kind != ValueKind::Picture &&
        kind != ValueKind::UnicodeText) {
        throw ScriptError("a variable cannot be of the kind " + std::string(KindName(kind)));
    }
    return TakeValueOf(kind, words);
}

bool IsUnicode(const TypedValue& value) {
    return value.kind == ValueKind::UnicodeText || value.kind == ValueKind::UnicodeTextArray ||
           (value.kind == ValueKind::ArrayOfArrays &&
            static_cast<ValueKind>(value.numbers.at(0)) == ValueKind::UnicodeTextArray);
}

unsigned long TakeResourceType(Words& words) {
    const std::string text = words.TakeString("a type of four characters");
    if (text.size() != 4) {
        throw ScriptError("a type has four characters, not " + std::to_string(text.size()));
    }
    unsigned long type = 0;
    for (const char character : text) {
        type = type << 8 | static_cast<unsigned char>(character);
    }
    return type;
}
