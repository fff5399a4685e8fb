#include "host/boundary/AreaEvents.h"
#include "testhost/validate/Cases.h"
#include "testhost/validate/Checks.h"
#include "testhost/validate/Values.h"

#include <algorithm>
#include <array>

namespace {
bool OpensDialog(const Facts& facts) {
    return std::ranges::find(facts.hostCalls, "CreateFourDDialog") != facts.hostCalls.end();
}

constexpr std::array<unsigned short, 39> eventCodes = {AreaEvent::Idle,
                                                       AreaEvent::MouseDown,
                                                       AreaEvent::KeyDown,
                                                       AreaEvent::AutoKey,
                                                       AreaEvent::Update,
                                                       AreaEvent::Cursor,
                                                       AreaEvent::Test,
                                                       AreaEvent::Select,
                                                       AreaEvent::Deselect,
                                                       AreaEvent::Scroll,
                                                       AreaEvent::DrawStructure,
                                                       AreaEvent::PrintVariableFrame,
                                                       AreaEvent::PrintSize,
                                                       AreaEvent::PrintBand,
                                                       AreaEvent::Undo,
                                                       AreaEvent::Cut,
                                                       AreaEvent::Copy,
                                                       AreaEvent::Paste,
                                                       AreaEvent::Clear,
                                                       AreaEvent::SelectAll,
                                                       AreaEvent::ScrollWheel,
                                                       AreaEvent::InstallMenus,
                                                       AreaEvent::DeInstallMenus,
                                                       AreaEvent::MenuCommand,
                                                       AreaEvent::SetupMenus,
                                                       AreaEvent::SaveField,
                                                       AreaEvent::Page,
                                                       AreaEvent::CanAcceptDrag,
                                                       AreaEvent::Drop,
                                                       AreaEvent::Nothing84,
                                                       AreaEvent::ShowProperties,
                                                       AreaEvent::DisposeProperties,
                                                       AreaEvent::HasProperties,
                                                       AreaEvent::MenuIcon,
                                                       AreaEvent::DesignInit,
                                                       2, // of no area
                                                       77,
                                                       606,
                                                       65535};

constexpr std::array<const char*, 7> rectangles = {
    "0 0 100 100", "0 0 0 0",           "10 10 10 200",
    "50 60 20 30", "-20 -20 2000 2000", "-32768 -32768 32767 32767",
    "0 0 7 5"};

std::string Named(const std::string& name) {
    return "area \"" + name + "\" ";
}

// An event at any place, sometimes with another rectangle.
std::string AnyEvent(Workbench& bench, unsigned short code) {
    std::string event = "event " + std::to_string(code);
    const auto number = [&] { return std::to_string(static_cast<short>(bench.random())); };
    if (bench.random() % 2 == 0) {
        event += " at " + std::to_string(bench.random() % 120) + " " +
                 std::to_string(bench.random() % 120);
    } else {
        event += " at " + number() + " " + number();
    }
    event += " time " + std::to_string(bench.random() % 100000);
    event += " modifiers " + std::to_string(bench.random() % 65536);
    if (bench.random() % 3 == 0) {
        event += std::string(" rect ") + rectangles[bench.random() % rectangles.size()];
    }
    return event;
}

Lines AnyEvents(Workbench& bench, const std::string& area) {
    std::vector<unsigned short> codes(eventCodes.begin(), eventCodes.end());
    for (size_t place = codes.size() - 1; place > 0; --place) {
        std::swap(codes[place], codes[bench.random() % (place + 1)]);
    }
    Lines lines;
    for (const unsigned short code : codes) {
        lines.push_back(Named(area) + AnyEvent(bench, code));
    }
    return lines;
}

std::string Create(const DescribedCommand& command, const std::string& area,
                   const std::string& more) {
    return Named(area) + "create command " + std::to_string(command.number) + more;
}

void CheckArea(Workbench& bench, const std::string& version, const DescribedCommand& command) {
    const auto play = [&](const Lines& lines) {
        if (!bench.IsFull()) {
            bench.Try({.version = version, .lines = Lines{"set strict on"} + Session(lines)});
        }
    };
    const std::string where = std::string(" rect ") + rectangles[0];
    const std::string remove = Named("A") + "delete";
    for (const char* const rectangle : rectangles) {
        play({Create(command, "A", std::string(" rect ") + rectangle), Named("A") + "event update",
              Named("A") + "event click at 5 5", remove});
    }
    for (const char* const kind : {" page 1", " list", " printing", " droppable page 2"}) {
        play(Lines{Create(command, "A", where + kind)} + AnyEvents(bench, "A") + Lines{remove});
    }
    for (int count = 0; count < bench.strictness; ++count) {
        play(Lines{Create(command, "A", where), Create(command, "B", where)} +
             AnyEvents(bench, "A") + AnyEvents(bench, "B") + Lines{remove} + AnyEvents(bench, "B") +
             Lines{Named("B") + "delete", Create(command, "A", where), remove});
    }
    for (const unsigned short code : eventCodes) {
        play({Create(command, "A", where), Create(command, "B", where),
              Named("A") + "delete within " + std::to_string(code), Named("B") + "event update",
              Named("B") + "delete"});
    }
    // A deletion of what is not there, and events of what is not there any more.
    play({Create(command, "A", where), Named("A") + "event deleted", Named("A") + "event update",
          Named("A") + "event deleted"});
}
} // namespace

void CheckDialogs(Workbench& bench) {
    size_t dialogs = 0;
    for (const DescribedCommand* const command : CallableCommands(bench)) {
        const std::string call = OrdinaryCall(*command);
        for (const std::string& version : TypicalVersions(bench)) {
            const Lines session = Session({call});
            const Outcome outcome = bench.Probe({.version = version, .lines = session});
            const auto facts = outcome.facts.find(session.size() - 2);
            if (facts == outcome.facts.end() || !OpensDialog(facts->second) || bench.IsFull()) {
                continue;
            }
            ++dialogs;
            for (const char* const action : {"user validate", "user cancel"}) {
                bench.Try({.version = version,
                           .lines = Lines{"set strict on"} +
                                    Session({action, call, call, action, call})});
            }
            // A process that has to end stays so: its next dialog may not even ask the user.
            bench.Try({.version = version,
                       .lines = Lines{"set strict on"} + Session({"user dying", call, call})});
            bench.Try({.version = version, .lines = Session({"process dying 1", call})});
        }
    }
    if (dialogs == 0 && !bench.IsFull()) {
        bench.Skip("no command opened a dialog when it was called with ordinary arguments");
    }
}

void CheckAreas(Workbench& bench) {
    const auto commands = AreaCommands(bench);
    if (commands.empty()) {
        return bench.Skip("no command has the usage area");
    }
    for (const DescribedCommand* const command : commands) {
        for (const std::string& version : TypicalVersions(bench) + Lines{"12.1"}) {
            CheckArea(bench, version, *command);
        }
    }
}
