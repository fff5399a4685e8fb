// Session scripts of any statements, played against a small plug-in: quiet and not, which must
// come to the same account.

#include "fuzz/Harness.h"
#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "shell/Entry.h"
#include "testhost/resources/Compiler.h"
#include "testhost/session/Player.h"
#include "testhost/statements/Table.h"
#include "testhost/toolbox/Control.h"
#include "testhost/toolbox/resources/Fork.h"
#include "ui/AreaManager.h"
#include "ui/Dialog.h"

#include <algorithm>
#include <sstream>

namespace {
void Add(CXParam* params, CXResult* result) {
    result->SetLong(static_cast<long>(static_cast<unsigned long>(++*params[0].GetLongPtr()) + 1));
}

void Execute(CXParam* params, CXResult*) {
    FourD::ExecProc(params[0].GetStringPtr());
}

class Question : public SXDialog {
  public:
    explicit Question(long first) : SXDialog("Question", 0), rating(first) {}
    void PostLoadData() override { FourDDialog::SetLongVar(dialog, "rating", rating); }
    void UnloadData() override { rating = FourDDialog::GetLongVar(dialog, "rating"); }
    long rating;
};

void Ask(CXParam* params, CXResult* result) {
    Question dialog(params[1].GetLong());
    const bool accepted =
        dialog.Open(nullptr, params[0].GetStringPtr(), 0) && dialog.EventLoop(nullptr);
    params[1].SetLong(dialog.rating);
    result->SetBoolean(accepted ? 1 : 0);
}

class ClickedArea : public CXArea {
  public:
    void DoDraw() override {
        EraseRect(&areaRect);
        CXArea::DoDraw();
    }
    bool DoMouseDown(EventRecord*) override {
        DoInvalidate();
        return true;
    }
};

class ClickedManager : public CXAreaManager {
  public:
    CXArea* CreateArea() override { return new ClickedArea; }
};

ClickedManager* areas = nullptr; // of the run

void AreaEvent(CXParam* params, CXResult*) {
    DispatchAreaCall(*areas, params);
}

void Wait(CXParam* params, CXResult*) {
    for (long turn = params[0].GetLong() % 50; turn > 0 && !FourD::IsProcessDying(); --turn) {
        FourD::YieldToOthers();
    }
}

void AskUser(CXParam*, CXResult* result) {
    result->SetBoolean(FourD::Confirm("More?"));
    char** formula = nullptr;
    FourD::EditFormula(&formula, 1);
    DisposeHandle(formula);
    char** picture = nullptr;
    FourD::EditPict(&picture);
    DisposeHandle(picture);
}

void WalkTable(CXParam* params, CXResult* result) {
    const short table = params[0].GetShort();
    long count = 0;
    FourD::AllRecords(table);
    FourD::RecordsInSelection(table, &count);
    FourD::NewRecord(table);
    FourD::UpdateRecord(table);
    result->SetLong(count);
}

const std::vector<CommandEntry>& Commands() {
    static const std::vector<CommandEntry> commands = {
        {"Add", "(&long) -> long", Add},
        {"Take", nullptr, nullptr}, // anything
        {"Execute", "(&string)", Execute},
        {"Ask", "(string title; &long rating) -> boolean", Ask},
        {"Area", "area", AreaEvent},
        {"Wait", "(long turns)", Wait},
        {"Ask user", "() -> boolean", AskUser},
        {"Walk table", "(short table) -> long", WalkTable},
    };
    return commands;
}

constexpr short resourceFile = 77;

void AddResources() {
    static const CompiledResources compiled =
        CompileResources("resource \"FO4D\" 15000 \"Question\"\nform size 260 120\n"
                         "label \"question\" \"How good?\" 20 12 220 16\n"
                         "field \"rating\" long 20 36 40 20\n"
                         "button \"cancel\" \"Cancel\" cancel 60 84 80 20\n"
                         "button \"ok\" \"OK\" validate 160 84 80 20\n",
                         "resources");
    std::vector<ForkResource> resources;
    Require(ReadResourceFork(compiled.fork, &resources) == 0, "no resources");
    ToolboxAddResFile(resourceFile);
    for (const ForkResource& each : resources) {
        ToolboxAddResource(resourceFile, each.type, each.id, std::string(each.name).c_str(),
                           each.data->data(), static_cast<long>(each.data->size()));
    }
}

// A number that is an address to the plug-in leads anywhere: such statements crash by intent.
bool LeadsAnywhere(const Statement& statement) {
    const std::string& text = statement.text;
    return text.starts_with("selector") && !text.starts_with("selector -3") &&
           !text.starts_with("selector -4") && !text.starts_with("selector -999");
}

Account Play(const Script& script, bool quiet) {
    ToolboxReset();
    AddResources();
    Account account;
    {
        ClickedManager manager; // as a library's, it goes when the host has
        areas = &manager;
        FuzzPlug plug(Commands());
        Host host({.pluginResFile = resourceFile});
        host.database = SmallDatabase();
        const EntryPoints entries{FourDPack, FourDPackex, FourDPlugInfo};
        Session session(host, entries);
        std::ostringstream out;
        Player player(session, {out, quiet});
        player.libraryFolder = L"C:\\work\\";
        player.stage.reload = [&](long) { return entries; };
        player.stage.onFinding = [](const std::string& place, const std::string& sentence) {
            Require(!place.empty() && !sentence.empty(), "a finding is not told");
        };
        const bool isGood = player.Play(script);
        account = player.stage.progress->account;
        Require(isGood == account.IsGood(), "the account says otherwise");
        Require(out.str().ends_with(account.Describe() + "\n"), "the account is not printed");
    }
    return account;
}
} // namespace

void Fuzz(Input& input) {
    Script script = ParseScript(input.ConsumeRemainingBytesAsString(), "script");
    for (const std::string& error : script.errors) {
        Require(error.starts_with("script:") && error.size() > std::size("script:1: "),
                "an error is not told");
    }
    std::erase_if(script.statements, LeadsAnywhere);
    if (script.errors.empty()) {
        const std::string loud = Play(script, false).Describe();
        const std::string quiet = Play(script, true).Describe();
        if (loud != quiet) {
            Fail("quietly it comes to another account: " + loud + ", " + quiet);
        }
    }
    ToolboxReset(); // what the script had the plug-in leave over
}
