#include "host/boundary/Selectors.h"
#include "testhost/crossings/RecordFields.h"
#include "testhost/session/Player.h"
#include "testhost/session/Values.h"
#include "testhost/statements/Parsers.h"

#include <algorithm>

// Statements about the calls that the plug-in makes into the host, and what they were found to be.

namespace {
// The name of a call into the host, as the transcript shows it.
std::string TakeCallName(Words& words) {
    std::string name = words.TakeWord("the name of a host call");
    if (std::ranges::none_of(SelectorTable,
                             [&](const SelectorPair& pair) { return pair.name == name; })) {
        throw ScriptError("the host has no call '" + name + "'");
    }
    return name;
}

short TakeResultCode(Words& words) {
    return static_cast<short>(words.TakeNumber("the result code", -0x8000, 0x7FFF));
}

long TakeCount(Words& words) {
    return words.TakeNumber("which one fails, counted from 1,", 1);
}

Action FailInToolbox(ToolboxFailures::Kind kind, long count) {
    return [kind, count](Player& player) {
        if (!ToolboxFailures::Ask(kind, count)) {
            player.Fail("what was to fail before has not come yet");
        }
    };
}

// The text that a field with the expected contents would show.
std::string TakeFieldText(const RecordFieldInfo& field, Words& words) {
    switch (field.type) {
    case RecordFieldInfo::Type::PascalString:
    case RecordFieldInfo::Type::Utf16:
        return Quoted(words.TakeString("the field's text"));
    case RecordFieldInfo::Type::Real:
        return Describe(RealValue(words.TakeReal("the field's number")));
    case RecordFieldInfo::Type::Date:
        return Describe(TakeDate(words));
    default:
        return field.NumberText(words.TakeNumber("the field's number"));
    }
}

// `sent` looks at a record as the plug-in sent it, otherwise as the host answered it.
Action ParseExpectField(Words& words, bool sent) {
    std::string name = TakeCallName(words);
    std::string fieldName = words.TakeWord("the name of a field");
    const RecordFieldInfo* field = FindRecordField(fieldName);
    if (field == nullptr) {
        throw ScriptError("call records have no field '" + fieldName + "'");
    }
    return [name, sent, field, expected = TakeFieldText(*field, words)](Player& player) {
        std::string what = name + " " + std::string(field->name) + " = " + expected;
        const LoggedCall* call = player.host.log.Last(name);
        if (call == nullptr) {
            return player.Expect(false, what, "no such call");
        }
        if (field->Size(call->IsEngine()) == 0) {
            return player.Expect(false, what, "a classic call, which has no such field");
        }
        std::string got = call->FieldText(*field, sent ? call->before : call->after);
        player.Expect(got == expected, what, got);
    };
}
} // namespace

Action ParseFail(Words& words) {
    std::string name = TakeCallName(words);
    const short code = TakeResultCode(words);
    return [name, code](Player& player) { player.host.FailNext(name, code); };
}

Action ParseFailCall(Words& words) {
    const long count = TakeCount(words);
    const short code = TakeResultCode(words);
    return [count, code](Player& player) { player.host.FailCall(count, code); };
}

Action ParseFailMemory(Words& words) {
    return FailInToolbox(ToolboxFailures::Kind::Memory, TakeCount(words));
}

Action ParseFailFile(Words& words) {
    return FailInToolbox(ToolboxFailures::Kind::File, TakeCount(words));
}

Action ParseExpectCall(Words& words) {
    std::string name = TakeCallName(words);
    bool counted = words.TakeIf("times");
    auto times = counted ? static_cast<size_t>(words.TakeNumber("a count", 0)) : 0;
    return [name, counted, times](Player& player) {
        const size_t calls = player.host.log.CountSinceEntry(name);
        player.Expect(counted ? calls == times : calls > 0,
                      counted ? std::to_string(times) + " calls of " + name : "a call of " + name,
                      std::to_string(calls));
    };
}

Action ParseExpectNoCall(Words& words) {
    return [name = TakeCallName(words)](Player& player) {
        const size_t calls = player.host.log.CountSinceEntry(name);
        player.Expect(calls == 0, "no call of " + name, std::to_string(calls));
    };
}

Action ParseExpectProblems(Words& words) {
    return [count = static_cast<size_t>(words.TakeNumber("a count", 0))](Player& player) {
        player.Expect(player.OpenProblems() == count, std::to_string(count) + " problems",
                      std::to_string(player.OpenProblems()));
        player.AcceptProblems();
    };
}

Action ParseExpectSent(Words& words) {
    return ParseExpectField(words, true);
}

Action ParseExpectAnswered(Words& words) {
    return ParseExpectField(words, false);
}
