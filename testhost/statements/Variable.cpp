#include "testhost/session/Player.h"
#include "testhost/session/Values.h"
#include "testhost/session/Variables.h"
#include "testhost/statements/Parsers.h"
#include "testhost/values/Scalars.h"

#include <utility>

namespace {
std::string TakeVariableName(Words& words) {
    std::string name = words.TakeString("the variable's name");
    if (!HostVariables::IsName(name)) {
        throw ScriptError("no variable has the name " + Quoted(name));
    }
    return name;
}

// Does something with an array variable of the current process, or fails when it is none.
template <typename Act>
Action WithArray(std::string name, Act act) {
    return [name = std::move(name), act](Player& player) {
        ValueBlock* value = player.host.variables.Find(player.host.currentProcess, name);
        if (value == nullptr || !IsArray(BlockKind(value->type))) {
            return player.Fail(Quoted(name) + " is no array");
        }
        act(player, value->array);
    };
}
} // namespace

Action ParseSetVariable(Words& words) {
    return [name = TakeVariableName(words), value = TakeVariableValue(words)](Player& player) {
        if (IsUnicode(value) && !player.host.HasEngine()) {
            return player.Fail("a host before 11.0 has no Unicode texts");
        }
        player.host.variables.Set(player.host.currentProcess, name, value);
    };
}

Action ParseSetPicture(Words& words) {
    std::string name = TakeVariableName(words);
    HostPicture picture;
    while (!words.AtEnd()) {
        std::string information = words.TakeString("a representation's information");
        picture.representations.push_back({information, words.TakeString("its data")});
    }
    return [name, picture](Player& player) {
        Host& host = player.host;
        if (!host.HasEngine()) {
            return player.Fail("a host before 11.0 has no pictures with representations");
        }
        ValueBlock value{};
        value.type = ValueType::Picture;
        value.picture = host.pictures.Add(picture);
        host.variables.Set(host.currentProcess, name, value);
    };
}

Action ParseExpectVariable(Words& words) {
    return [name = TakeVariableName(words), expected = TakeVariableValue(words)](Player& player) {
        TypedValue got = player.host.variables.Read(player.host.currentProcess, name);
        player.Expect(got == expected, Quoted(name) + " " + Describe(expected), Describe(got));
    };
}

Action ParseSetChosen(Words& words) {
    std::string name = TakeVariableName(words);
    const auto index = static_cast<short>(words.TakeNumber("an element", -0x8000, 0x7FFF));
    return WithArray(name, [index](Player&, ArrayBlock& array) { array.currentIndex = index; });
}

Action ParseExpectChosen(Words& words) {
    std::string name = TakeVariableName(words);
    const long index = words.TakeNumber("an element", -0x8000, 0x7FFF);
    return WithArray(name, [name, index](Player& player, ArrayBlock& array) {
        player.Expect(array.currentIndex == index,
                      "element " + std::to_string(index) + " of " + Quoted(name),
                      "element " + std::to_string(array.currentIndex));
    });
}
