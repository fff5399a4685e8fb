#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "tests/Fixture.h"
#include "ui/FourDDialog.h"

#include <windows.h>

namespace {

class WindowsTest : public DualHostTest {
  protected:
    WindowsTest() {
        Start();
        host.windows.Clear();
    }

    GrafPort* Add(short kind, bool visible = true, long process = 1) {
        return &host.windows.AddInFront(process, kind, visible).port;
    }

    TestPlug plug;
};

TEST_P(WindowsTest, WalksTheListFromTheFront) {
    const long other = host.AddProcess({.name = "Other"});
    GrafPort* const regular = Add(WindowKind::Regular);
    GrafPort* const hidden = Add(WindowKind::Modal, false);
    GrafPort* const external = Add(WindowKind::External, false, other);
    GrafPort* const floating = Add(WindowKind::Floating, true, other);
    EXPECT_EQ(FourD::GetFrontmostWindow(), floating);
    EXPECT_EQ(FourD::GetFrontmostNonFloatingWindow(), regular);
    EXPECT_EQ(FourD::GetFrontmostNonFloatingWindowOfProcess(1), hidden);
    EXPECT_EQ(FourD::GetFrontmostWindowOfProcess(other), floating);
    EXPECT_EQ(FourD::FloatingWindow(), floating);
    EXPECT_EQ(FourD::Get4DServerMainWindow(), nullptr); // no server
    EXPECT_EQ(FourD::IsWindow(external), 1);
    GrafPort stranger = *external;
    EXPECT_EQ(FourD::IsWindow(&stranger), 0);

    using KindTest = unsigned char (*)(GrafPort*);
    const std::pair<KindTest, GrafPort*> kinds[] = {{FourD::IsRegularWindow, regular},
                                                    {FourD::IsModalDialog, hidden},
                                                    {FourD::IsExternalWindow, external},
                                                    {FourD::IsFloatingWindow, floating}};
    for (const auto& [test, its] : kinds) {
        for (const auto& [unused, window] : kinds) {
            EXPECT_EQ(test(window) != 0, window == its);
        }
        EXPECT_EQ(test(nullptr), 0);
    }
    EXPECT_EQ((*FourD::GetWindowContentRegion(regular))->rgnSize, 10);

    gHost.macGlobals = nullptr;
    EXPECT_EQ(FourD::IsWindow(regular), 0);
    EXPECT_EQ(FourD::GetFrontmostNonFloatingWindow(), nullptr);
}

TEST_P(WindowsTest, FindsTheDebugger) {
    GrafPort* const debugger = Add(WindowKind::Regular);
    EXPECT_EQ(FourD::HasDebuggerWindowOpen(), 0);
    ToolboxSetWindowTitle(debugger, PascalString("Debugger: Total"));
    Add(WindowKind::Regular);
    EXPECT_EQ(FourD::HasDebuggerWindowOpen(), 1);
    debugger->visible = 0;
    EXPECT_EQ(FourD::HasDebuggerWindowOpen(), 0);
    EXPECT_EQ(FourD::IsDebuggerWindow(debugger), 1);
}

TEST_P(WindowsTest, ReadsTheMethodEditor) {
    GrafPort* const editor = Add(WindowKind::Regular);
    EXPECT_EQ(FourD::GetFrontmostProcEditWindow(), nullptr);
    HostWindow& window = *host.windows.Find(editor);
    WindowList::SetMethodText(window, "$0:=1");
    window.currentLine = 12;
    TEHandle text = nullptr;
    EXPECT_EQ(FourD::GetProcEditTEHandle(editor, &text), 0);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(OwnedHandle::BytesOf((*text)->hText), "$0:=1");
    EXPECT_EQ(FourD::GetProcEditTE(editor), text);
    EXPECT_EQ(FourD::GetFrontmostProcEditWindow(), editor);
    EXPECT_EQ(FourD::CalcProcEditLine(editor), 12);
    EXPECT_EQ(FourD::GetCurrentTE(), nullptr);
    FourD::SetWindowFocused(editor, 1);
    EXPECT_EQ(FourD::GetCurrentTE(), text);
    EXPECT_NE(FourD::GetProcEditTEHandle(nullptr, &text), 0);
    EXPECT_EQ(text, nullptr);
}

TEST_P(WindowsTest, MovesTheFocus) {
    GrafPort* const window = Add(WindowKind::Regular);
    GrafPort* const floating = Add(WindowKind::Floating);
    EXPECT_EQ(FourD::GetFocusedWindow(), nullptr);
    EXPECT_NE(FourD::SetWindowFocused(floating, 1), 0);
    EXPECT_EQ(FourD::SetWindowFocusable(floating, 1), 0);
    EXPECT_EQ(FourD::SetWindowFocused(floating, 1), 0);
    EXPECT_EQ(FourD::GetFocusedWindow(), floating);
    EXPECT_EQ(FourD::IsWindowFocused(floating), 1);
    EXPECT_EQ(FourD::IsWindowFocused(window), 0);
    FourD::SetWindowFocusable(floating, 0);
    EXPECT_EQ(FourD::IsWindowFocusable(floating), 0);
    EXPECT_EQ(FourD::GetFocusedWindow(), nullptr);
}

TEST_P(WindowsTest, AsksTheHostForTheRest) {
    GrafPort* const external = Add(WindowKind::External);
    EXPECT_EQ(FourD::SetExWindowTitle(reinterpret_cast<long>(external), PascalString("Plan")), 0);
    Str255 title = {};
    GetWTitle(external, title);
    EXPECT_EQ(PascalString::TextOf(title), "Plan");
    host.updateContext = 77;
    EXPECT_EQ(FourD::GetUpdateHDC(), 77U);
    EXPECT_EQ(FourD::GetFourDDialogFromWindow(external), nullptr);
    EXPECT_EQ(long{host.log.Last("DialogFromWindow")->Sent().param2},
              reinterpret_cast<long>(external));
    FourDDialog* const context = FourDDialog::CreateFourDDialogContext();
    EXPECT_EQ(FourD::GetWindowFromFourDDialog(context), nullptr);
    FourDDialog::Close(context);
}

TEST_P(WindowsTest, TheHighlightIsThatOfWindows) {
    RGBColor color = {};
    FourD::LMGetHiliteColor(&color);
    const COLORREF highlight = GetSysColor(COLOR_HIGHLIGHT);
    EXPECT_EQ(color.red, GetRValue(highlight) * 0x101);
    EXPECT_EQ(color.green, GetGValue(highlight) * 0x101);
    EXPECT_EQ(color.blue, GetBValue(highlight) * 0x101);
}

INSTANTIATE_TEST_SUITE_P(Hosts, WindowsTest, ClassicAndEngine, HostName);

class ServerWindowsTest : public HostTest, public testing::WithParamInterface<unsigned short> {
  protected:
    ServerWindowsTest() : HostTest({.version = GetParam(), .role = Role::Server}) { Start(); }
    TestPlug plug;
};

INSTANTIATE_TEST_SUITE_P(Hosts, ServerWindowsTest, ClassicAndEngine, HostName);

TEST_P(ServerWindowsTest, TheMainOneIsTheRegularOneOfTheFirstProcess) {
    const long other = host.AddProcess({.name = "Other"});
    host.windows.Clear();
    EXPECT_EQ(FourD::Get4DServerMainWindow(), nullptr);
    GrafPort* const main = &host.windows.AddInFront(1, WindowKind::Regular).port;
    host.windows.AddInFront(other, WindowKind::Regular);
    host.windows.AddInFront(1, WindowKind::External);
    EXPECT_EQ(FourD::Get4DServerMainWindow(), main);
}

} // namespace
