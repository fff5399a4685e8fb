#include "testhost/validate/Values.h"

#include "testhost/values/TypedValue.h"

#include <algorithm>
#include <array>

namespace {
std::string Repeated(size_t count) {
    return "repeat " + std::to_string(count) + " \"x\"";
}

std::vector<std::string> WithKind(ValueKind kind, std::vector<std::string> values) {
    for (std::string& value : values) {
        value.insert(0, std::string(KindName(kind)) + " ");
    }
    return values;
}

// Names of the variables, of some that there are not, of fields, files and numbers.
const std::vector<std::string>& Strings() {
    static const std::vector<std::string> strings = {"\"\"",
                                                     "\"a\"",
                                                     R"("two words")",
                                                     R"("\x00")",
                                                     R"("\xFF\xE9")",
                                                     R"("%s%n%x")",
                                                     R"("a:b")",
                                                     R"("..")",
                                                     R"("[Table]Field")",
                                                     R"("vLong")",
                                                     R"("vReal")",
                                                     R"("vText")",
                                                     R"("vDate")",
                                                     R"("vTime")",
                                                     R"("vBoolean")",
                                                     R"("vBlob")",
                                                     R"("vPicture")",
                                                     R"("vPointer")",
                                                     R"("vLongs")",
                                                     R"("vTexts")",
                                                     R"("vStrings")",
                                                     R"("vReals")",
                                                     R"("vDates")",
                                                     R"("vBooleans")",
                                                     R"("vEmpty")",
                                                     R"("vGrid")",
                                                     R"("vNobody")",
                                                     R"("<>iLong")",
                                                     R"("${scratch}file.txt")",
                                                     R"("${scratch}no\\such\\file")"};
    return strings;
}

std::vector<std::string> EdgeStrings() {
    std::vector<std::string> edges = {"\"\"", R"("\x00")", R"("%s%n%x")"};
    for (const size_t length : {31U, 32U, 63U, 64U, 80U, 127U, 128U, 254U, 255U}) {
        edges.push_back(Repeated(length));
    }
    return edges;
}

std::vector<std::string> EdgeTexts() {
    std::vector<std::string> edges = {"\"\"", R"("\x00")", R"("\r\n\r\n")", R"("%s%n%x")"};
    for (const size_t length : {31U, 32U, 127U, 128U, 255U, 256U, 257U, 32000U}) {
        edges.push_back(Repeated(length));
    }
    return edges;
}

std::vector<std::string> Reals() {
    return {"0",          "-0.0",  "1.5",    "-1",     "0.1", "1e15", "-1e15",
            "2147483648", "1e300", "-1e300", "5e-324", "nan", "inf",  "-inf"};
}

std::vector<std::string> Longs() {
    return {"0", "1", "-1", "2147483647", "-2147483648", "255", "256", "32767", "32768", "65536"};
}

std::vector<std::string> Dates() {
    return {"0000-00-00", "0001-01-01", "9999-12-31", "2024-02-29", "1899-12-31", "1970-01-01"};
}

// "array long 1 2 3": without elements, with one, with many.
std::vector<std::string> ArraysOf(ValueKind kind) {
    const std::string name(KindName(kind));
    if (kind == ValueKind::ArrayOfArrays) {
        return {name + " long", name + " long / 1 2 / / 3", name + R"( text / "a" / "" "b")",
                name + " long /"};
    }
    const std::string slot = kind == ValueKind::StringArray ? " 16" : "";
    std::string element = OrdinaryValue(ElementKind(kind));
    element.erase(0, element.find(' '));
    std::string many;
    for (int count = 0; count < 300; ++count) {
        many += element;
    }
    std::vector<std::string> arrays = {name + slot, name + slot + element,
                                       name + slot + element + element + element,
                                       name + slot + many};
    if (kind == ValueKind::LongArray) {
        arrays.push_back(name + " 2147483647 -2147483648 0 -1");
    }
    if (kind == ValueKind::TextArray) {
        arrays.push_back(name + R"( "" "a" "" )" + Quoted(std::string(256, 'x')));
    }
    return arrays;
}

constexpr std::array taggedKinds = {ValueKind::Real,    ValueKind::Text, ValueKind::Date,
                                    ValueKind::Boolean, ValueKind::Long, ValueKind::String};

std::vector<std::string> EdgesOf(ValueKind kind);

std::vector<std::string> TaggedValues() {
    std::vector<std::string> values = {"undefined", "time 0",    "time 86399",
                                       "time -1",   "blob null", R"(blob "ab")"};
    for (const ValueKind kind : taggedKinds) {
        values.push_back(OrdinaryValue(kind));
        for (std::string& edge : EdgesOf(kind)) {
            values.push_back(std::move(edge));
        }
    }
    return values;
}

const std::string& Pick(const std::vector<std::string>& from, std::mt19937& random) {
    // Of its own: the standard's distributions differ from one library to the next.
    return from[random() % from.size()];
}

std::string RandomNumber(std::mt19937& random) {
    const auto bits = static_cast<long>(random());
    return std::to_string(bits >> random() % 32);
}

std::vector<std::string> EdgesOf(ValueKind kind) {
    switch (kind) {
    case ValueKind::Short:
        return WithKind(kind, {"0", "1", "-1", "32767", "-32768", "255", "256"});
    case ValueKind::Long:
        return WithKind(kind, Longs());
    case ValueKind::Boolean:
        return WithKind(kind, {"true", "false"});
    case ValueKind::Real:
    case ValueKind::Extended:
        return WithKind(kind, Reals());
    case ValueKind::String:
        return WithKind(kind, EdgeStrings());
    case ValueKind::Text:
        return WithKind(kind, EdgeTexts());
    case ValueKind::Date:
        return WithKind(kind, Dates());
    case ValueKind::Rect:
        return WithKind(kind, {"0 0 0 0", "30 40 10 20", "-32768 -32768 32767 32767",
                               "32767 32767 -32768 -32768"});
    case ValueKind::Event:
        return WithKind(kind, {"0 0 0 0 0 0", "65535 -1 -1 -32768 32767 65535", "3 0x61 1 0 0 0"});
    case ValueKind::Picture:
    case ValueKind::HandleBytes:
        return WithKind(kind, {"null", "\"\"", R"("a")", Repeated(255), Repeated(256)});
    case ValueKind::Value:
        return WithKind(kind, TaggedValues());
    case ValueKind::Pointer:
        return WithKind(kind, {"null", "long 3", R"(text "abc")", "real 2.5", R"(string "abc")",
                               "date 0000-00-00", "value undefined"});
    default:
        return IsArray(kind) ? ArraysOf(kind) : std::vector{OrdinaryValue(kind)};
    }
}

// Those among the edges of a kind that go with one another; none when it is no number.
std::vector<std::string> ExtremesOf(ValueKind kind) {
    switch (kind) {
    case ValueKind::Short:
        return WithKind(kind, {"0", "-1", "-32768", "32767"});
    case ValueKind::Long:
        return WithKind(kind, {"0", "-1", "-2147483648", "2147483647"});
    case ValueKind::Real:
    case ValueKind::Extended:
        return WithKind(kind, {"0", "-1", "-1e300", "1e300"});
    default:
        return {};
    }
}

// A parameter takes values of its kind; a pointer that the usage says more of leads to those of a
// kind.
std::string Pointing(const Usage::Parameter& parameter, const std::string& value) {
    return parameter.target == ValueKind::None ? value : "pointer " + value;
}

ValueKind KindOfValues(const Usage::Parameter& parameter) {
    return parameter.target == ValueKind::None ? parameter.kind : parameter.target;
}

std::string OrdinaryValue(const Usage::Parameter& parameter) {
    return Pointing(parameter, OrdinaryValue(KindOfValues(parameter)));
}

std::vector<std::string> EdgesOf(const Usage::Parameter& parameter) {
    std::vector<std::string> edges = EdgesOf(KindOfValues(parameter));
    for (std::string& edge : edges) {
        edge = Pointing(parameter, edge);
    }
    if (parameter.target != ValueKind::None) {
        edges.emplace_back("pointer null");
    }
    return edges;
}

std::vector<std::string> OrdinaryValues(const DescribedCommand& command) {
    std::vector<std::string> values;
    for (const Usage::Parameter& parameter : command.usage->parameters) {
        values.push_back(OrdinaryValue(parameter));
    }
    return values;
}
} // namespace

std::string AnyBytes(std::mt19937& random) {
    std::string bytes;
    for (size_t count = random() % 40; count > 0; --count) {
        bytes += static_cast<char>(random() % 4 == 0 ? random() % 256 : 'a' + random() % 26);
    }
    return Quoted(bytes);
}

std::string OrdinaryValue(ValueKind kind) {
    const std::string name(KindName(kind));
    switch (kind) {
    case ValueKind::Short:
    case ValueKind::Long:
        return name + " 3";
    case ValueKind::Boolean:
        return name + " true";
    case ValueKind::Real:
    case ValueKind::Extended:
        return name + " 2.5";
    case ValueKind::Date:
        return name + " 2026-11-21";
    case ValueKind::Rect:
        return name + " 10 20 110 220";
    case ValueKind::Event:
        return name + " 1 0 100 50 60 0";
    case ValueKind::Value:
        return name + " text \"abc\"";
    case ValueKind::Pointer:
        return name + " long 3";
    case ValueKind::ArrayOfArrays:
        return name + " long / 1 2 / 3 4";
    default:
        return IsArray(kind) ? ArraysOf(kind)[2] : name + " \"abc\"";
    }
}

std::string AnyValue(ValueKind kind, std::mt19937& random) {
    const std::string name = std::string(KindName(kind)) + " ";
    if (random() % 2 == 0) {
        return Pick(EdgesOf(kind), random);
    }
    switch (kind) {
    case ValueKind::Short:
        return name + std::to_string(static_cast<short>(random()));
    case ValueKind::Long:
        return name + RandomNumber(random);
    case ValueKind::Real:
    case ValueKind::Extended:
        return name + RandomNumber(random) + "." + std::to_string(random() % 1000);
    case ValueKind::String:
        return name + (random() % 4 == 0 ? AnyBytes(random) : Pick(Strings(), random));
    case ValueKind::Text:
        return name + (random() % 2 == 0 ? AnyBytes(random) : Pick(Strings(), random));
    case ValueKind::HandleBytes:
    case ValueKind::Picture:
        return name + AnyBytes(random);
    case ValueKind::LongArray: {
        std::string array = name;
        for (size_t count = random() % 20; count > 0; --count) {
            array += RandomNumber(random) + " ";
        }
        return array;
    }
    default:
        return Pick(EdgesOf(kind), random);
    }
}

std::vector<std::string> VariableStatements() {
    std::vector<std::string> statements;
    const auto add = [&](const char* name, const std::string& value) {
        statements.push_back(std::string("set variable \"") + name + "\" " + value);
    };
    add("vLong", "long 7");
    add("vReal", "real 2.5");
    add("vText", "text \"abc\"");
    add("vDate", "date 2026-11-21");
    add("vTime", "time 3600");
    add("vBoolean", "boolean true");
    add("vBlob", "blob \"abc\"");
    add("vPicture", "picture \"abc\"");
    add("vPointer", "pointer long 3");
    add("vLongs", "array long 3 1 2");
    add("vTexts", R"(array text "b" "" "a")");
    add("vStrings", R"(array string 16 "b" "a")");
    add("vReals", "array real 1.5 -1");
    add("vDates", "array date 2026-11-21 0000-00-00");
    add("vBooleans", "array boolean true false true");
    add("vEmpty", "array long");
    add("vGrid", "array array long / 1 2 / 3");
    add("<>iLong", "long 7");
    return statements;
}

std::string CallOf(const DescribedCommand& command, const std::vector<std::string>& values) {
    std::string call = "call ";
    call += command.name.empty() ? std::to_string(command.number) : Quoted(command.name);
    for (const std::string& value : values) {
        call += " " + value;
    }
    if (command.usage && command.usage->result != ValueKind::None) {
        call += " -> " + std::string(KindName(command.usage->result));
    }
    return call;
}

std::string OrdinaryCall(const DescribedCommand& command) {
    return CallOf(command, OrdinaryValues(command));
}

std::string AnyCall(const DescribedCommand& command, std::mt19937& random) {
    std::vector<std::string> values;
    for (const Usage::Parameter& parameter : command.usage->parameters) {
        values.push_back(Pointing(parameter, AnyValue(KindOfValues(parameter), random)));
    }
    return CallOf(command, values);
}

std::vector<std::string> EdgeCalls(const DescribedCommand& command) {
    std::vector<std::string> calls;
    const std::vector<std::string> ordinary = OrdinaryValues(command);
    for (size_t place = 0; place < ordinary.size(); ++place) {
        std::vector<std::string> values = ordinary;
        for (std::string& edge : EdgesOf(command.usage->parameters[place])) {
            values[place] = std::move(edge);
            calls.push_back(CallOf(command, values));
        }
    }
    return calls;
}

std::vector<std::string> EdgePairCalls(const DescribedCommand& command) {
    std::vector<std::string> calls;
    const auto& parameters = command.usage->parameters;
    for (size_t first = 0; first < parameters.size(); ++first) {
        for (size_t second = first + 1; second < parameters.size(); ++second) {
            std::vector<std::string> values = OrdinaryValues(command);
            for (const std::string& one : ExtremesOf(parameters[first].kind)) {
                for (const std::string& other : ExtremesOf(parameters[second].kind)) {
                    values[first] = one;
                    values[second] = other;
                    calls.push_back(CallOf(command, values));
                }
            }
        }
    }
    return calls;
}
