#include "testhost/session/Player.h"
#include "testhost/session/Values.h"
#include "testhost/statements/Parsers.h"

#include <utility>

namespace {
using Action = std::function<void(Player&)>;
using Check = std::function<void(Player&, const DialogState&)>;
using ObjectCheck = std::function<void(Player&, const ObjectState&)>;

Action Queue(UserAction action) {
    return [action = std::move(action)](Player& player) {
        player.host.dialogs.actions.push_back(action);
        player.host.dialogs.actions.back().place = player.stage.place;
    };
}

std::string TakeObjectName(Words& words) {
    return words.TakeString("an object's name");
}

std::string RowsText(const std::vector<std::string>& rows) {
    std::string text = std::to_string(rows.size()) + " rows:";
    for (const std::string& row : rows) {
        text += " " + Quoted(row);
    }
    return text;
}

struct FlagWord {
    std::string_view word;
    bool FormObject::*flag;
    bool wanted;
};

constexpr FlagWord flagWords[] = {
    {"enabled", &FormObject::enabled, true},   {"disabled", &FormObject::enabled, false},
    {"visible", &FormObject::visible, true},   {"invisible", &FormObject::visible, false},
    {"editable", &FormObject::editable, true}, {"locked", &FormObject::editable, false},
};

ObjectCheck TakeFlagCheck(Words& words) {
    for (const FlagWord& flag : flagWords) {
        if (words.TakeIf(flag.word)) {
            return [flag](Player& player, const ObjectState& state) {
                player.Expect(state.object.*flag.flag == flag.wanted,
                              Quoted(state.object.name) + " " + std::string(flag.word),
                              state.Describe());
            };
        }
    }
    throw ScriptError("behind an object stand value, title, rows, chosen, enabled, disabled, "
                      "visible, invisible, editable or locked");
}

ObjectCheck TakeObjectCheck(Words& words) {
    if (words.TakeIf("value")) {
        return [expected = TakeVariableValue(words)](Player& player, const ObjectState& state) {
            player.Expect(state.value == expected, Describe(expected), Describe(state.value));
        };
    }
    if (words.TakeIf("title")) {
        return
            [expected = words.TakeString("the title")](Player& player, const ObjectState& state) {
                player.Expect(state.object.title == expected, Quoted(expected),
                              Quoted(state.object.title));
            };
    }
    if (words.TakeIf("rows")) {
        std::vector<std::string> expected;
        while (words.IsString()) {
            expected.push_back(words.TakeString("a row"));
        }
        return [expected](Player& player, const ObjectState& state) {
            player.Expect(state.rows == expected, RowsText(expected), RowsText(state.rows));
        };
    }
    if (words.TakeIf("chosen")) {
        return [expected = words.TakeNumber("a row", 0)](Player& player, const ObjectState& state) {
            player.Expect(state.chosen == expected, "row " + std::to_string(expected),
                          "row " + std::to_string(state.chosen));
        };
    }
    return TakeFlagCheck(words);
}

std::string_view OutcomeText(DialogOutcome outcome) {
    constexpr std::string_view texts[] = {"undecided", "validated", "cancelled"};
    return texts[static_cast<size_t>(outcome)];
}

Check TakeOutcomeCheck(DialogOutcome expected) {
    return [expected](Player& player, const DialogState& state) {
        player.Expect(state.outcome == expected, std::string(OutcomeText(expected)),
                      std::string(OutcomeText(state.outcome)));
    };
}

Check TakeCheck(Words& words) {
    if (words.IsString()) {
        std::string name = TakeObjectName(words);
        return [name, check = TakeObjectCheck(words)](Player& player, const DialogState& state) {
            const ObjectState* object = state.Find(name);
            if (object == nullptr) {
                return player.Fail("the dialog has no object " + Quoted(name));
            }
            check(player, *object);
        };
    }
    if (words.TakeIf("validated")) {
        return TakeOutcomeCheck(DialogOutcome::Validated);
    }
    if (words.TakeIf("cancelled")) {
        return TakeOutcomeCheck(DialogOutcome::Cancelled);
    }
    if (words.TakeIf("page")) {
        return [page = words.TakeNumber("a page", 1)](Player& player, const DialogState& state) {
            player.Expect(state.page == page, "page " + std::to_string(page),
                          "page " + std::to_string(state.page));
        };
    }
    if (words.TakeIf("title")) {
        return [title = words.TakeString("a title")](Player& player, const DialogState& state) {
            player.Expect(state.title == title, Quoted(title), Quoted(state.title));
        };
    }
    throw ScriptError("expected an object's name, validated, cancelled, page or title");
}
} // namespace

Action ParseUserType(Words& words) {
    std::string object = TakeObjectName(words);
    return Queue({.kind = UserAction::Kind::Type,
                  .object = std::move(object),
                  .text = words.TakeString("what is typed")});
}

Action ParseUserClick(Words& words) {
    return Queue({.kind = UserAction::Kind::Click, .object = TakeObjectName(words)});
}

Action ParseUserChoose(Words& words) {
    std::string object = TakeObjectName(words);
    return Queue({.kind = UserAction::Kind::Choose,
                  .object = std::move(object),
                  .number = words.TakeNumber("a row", 0)});
}

Action ParseUserCheck(Words& words) {
    constexpr long mixedState = 2;
    std::string object = TakeObjectName(words);
    const long state = words.TakeIf("mixed") ? mixedState : (words.TakeOnOff() ? 1 : 0);
    return Queue({.kind = UserAction::Kind::Check, .object = std::move(object), .number = state});
}

Action ParseUserPage(Words& words) {
    return Queue({.kind = UserAction::Kind::Page, .number = words.TakeNumber("a page", 1)});
}

Action ParseUserDrag(Words& words) {
    std::string object = TakeObjectName(words);
    return Queue({.kind = UserAction::Kind::Drag,
                  .object = std::move(object),
                  .text = TakeObjectName(words)});
}

Action ParseUserValidate(Words&) {
    return Queue({.kind = UserAction::Kind::Validate});
}

Action ParseUserCancel(Words&) {
    return Queue({.kind = UserAction::Kind::Cancel});
}

Action ParseUserDying(Words&) {
    return [](Player& player) {
        Queue({.kind = UserAction::Kind::Dying, .look = [&host = player.host](const DialogState&) {
                   host.FindProcess(host.currentProcess)->isDying = true;
               }})(player);
    };
}

Action Look(std::function<void(Player&, const DialogState&)> look) {
    return [look = std::move(look)](Player& player) {
        const std::string place = player.stage.place;
        Queue({.kind = UserAction::Kind::Look,
               .look = [&player, look, place](const DialogState& state) {
                   player.At(place, [&] { look(player, state); });
               }})(player);
    };
}

Action ParseUserSees(Words& words) {
    return Look(TakeCheck(words));
}

Action ParseExpectDialog(Words& words) {
    return [check = TakeCheck(words)](Player& player) {
        if (!player.host.dialogs.lastState) {
            return player.Fail("there was no dialog");
        }
        check(player, *player.host.dialogs.lastState);
    };
}
