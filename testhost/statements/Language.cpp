#include "testhost/session/Player.h"
#include "testhost/statements/Parsers.h"

#include <algorithm>

namespace {
Action ParseExpectBox(HostBox::Kind kind, Words& words) {
    return [kind, text = words.TakeString("the box's text")](Player& player) {
        std::string got;
        bool held = false;
        for (const HostBox& box : player.host.boxes.shown) {
            if (box.kind == kind && box.entry == player.host.log.PluginCallCount()) {
                held = held || box.text == text;
                got += (got.empty() ? "" : ", ") + Quoted(box.text);
            }
        }
        player.Expect(held, Quoted(text), got.empty() ? "no such box" : got);
    };
}
} // namespace

Action ParseSetCommand(Words& words) {
    const long number = words.TakeNumber("a command's number", 1, 0x7FFF);
    return [number, name = words.TakeString("its name")](Player& player) {
        if (!player.host.RenameCommand(number, name)) {
            player.Fail("the host has no command " + std::to_string(number) +
                        ", or none can have the name " + Quoted(name));
        }
    };
}

Action ParseMethod(Words& words) {
    std::string name = words.TakeString("the method's name");
    return [name, source = words.TakeString("its source")](Player& player) {
        player.host.language.DefineMethod(name, source);
    };
}

Action ParseAnswerConfirm(Words& words) {
    const bool accepts = words.TakeIf("ok");
    if (!accepts && !words.TakeIf("cancel")) {
        throw ScriptError("expected 'ok' or 'cancel'");
    }
    return
        [accepts](Player& player) { player.host.boxes.confirmAnswers.push_back(accepts ? 1 : 0); };
}

Action ParseAnswerFormula(Words& words) {
    std::optional<std::string> entry;
    if (!words.TakeIf("cancel")) {
        entry = words.TakeString("the formula or 'cancel'");
    }
    return [entry](Player& player) { player.host.language.formulaEntries.push_back(entry); };
}

Action ParseExpectAlert(Words& words) {
    return ParseExpectBox(HostBox::Kind::Alert, words);
}

Action ParseExpectConfirm(Words& words) {
    return ParseExpectBox(HostBox::Kind::Confirm, words);
}
