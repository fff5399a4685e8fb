// Pictures of windows: what of a dialog and of a port is to be seen in them, and their files.

#include "platform/Toolbox.h"
#include "testhost/pictures/Windows.h"
#include "testhost/resources/Compiler.h"
#include "testhost/session/Player.h"
#include "testhost/statements/Table.h"
#include "testhost/values/Encodings.h"
#include "tests/Fixture.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>

#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#include <stb_image.h>

namespace {

class PicturesOfWindowsTest : public HostTest {
  protected:
    /// Whether the pictures differ, and only within a box of the content.
    static bool DifferOnlyIn(const Rect& rect, const Canvas& before, const Canvas& after) {
        int inside = 0;
        int outside = 0;
        for (int top = 0; top < before.Everything().bottom; ++top) {
            for (int left = 0; left < before.Everything().right; ++left) {
                const bool within = left > rect.left && left <= rect.right &&
                                    top >= rect.top + 22 &&
                                    top < rect.bottom + 22; // behind the title bar
                (within ? inside : outside) += before.At(left, top) == after.At(left, top) ? 0 : 1;
            }
        }
        return inside > 0 && outside == 0;
    }
};

TEST_F(PicturesOfWindowsTest, WhatChangesInADialogChangesThePictureThere) {
    const CompiledResources compiled =
        CompileResources("resource \"FO4D\" 128 \"Form\"\n"
                         "form size 200 120\n"
                         "label \"hint\" \"Who\" 5 5 60 16\n"
                         "field \"customer\" string 5 30 80 20\n"
                         "checkbox \"paid\" \"Paid\" 5 60 40 20\n"
                         "field \"due\" date 50 60 48 20\n"
                         "field \"note\" text 165 5 30 50\n"
                         "list \"rows\" 100 5 60 50\n"
                         "area \"chart\" 100 60 40 40\n"
                         "button \"ok\" \"OK\" validate 5 90 60 20\n",
                         "form");
    ASSERT_THAT(compiled.errors, testing::IsEmpty());
    const long reference = host.dialogs.Open(host.dialogs.NewContext(), 1, "Form", "Title",
                                             compiled.fork.substr(compiled.fork.find("FORM")));
    Dialog* const dialog = host.dialogs.Find(reference);
    ASSERT_NE(dialog, nullptr);
    HostWindow& window = host.windows.At(0);
    SetPor(&window.port);
    const std::vector<std::pair<const char*, std::function<void()>>> changes = {
        {"customer", [&] { dialog->Write("customer", StringValue("Baker")); }},
        {"paid", [&] { dialog->Write("paid", LongValue(1)); }},
        {"rows",
         [&] {
             dialog->LoadTexts("rows", {"a", "b"});
         }},
        {"rows", [&] { dialog->Write("rows", LongValue(2)); }},
        {"ok", [&] { dialog->FindObject("ok")->enabled = false; }},
        {"hint", [&] { dialog->FindObject("hint")->visible = false; }},
        {"due", [&] { dialog->Write("due", DateValue(2026, 11, 22)); }},
        {"note", [&] { dialog->Write("note", TextValue("a\rb")); }},
        {"note", [&] { dialog->Write("note", TextValue("a\rc")); }}, // the second line alone
        {"ok", [&] { dialog->FindObject("ok")->action = FormAction::None; }}, // a thinner frame
        {"chart",
         [] {
             const Rect square{65, 105, 75, 115};
             FrameRec(&square);
         }},
        {"chart",
         [] {
             MoveT(120, 65);
             DrawString(PascalString("x"));
         }},
        {"chart",
         [] {
             MoveT(130, 80);
             LineT(138, 95);
         }},
        {"ok", [&] { dialog->FindObject("ok")->page = 2; }},
        {"chart",
         [] {
             const Rect wide{50, 90, 90, 300}; // only a part of it lies in the area
             PaintRect(&wide);
         }},
    };
    for (const auto& [object, change] : changes) {
        const Canvas before = PaintWindow(host, window);
        change();
        EXPECT_TRUE(
            DifferOnlyIn(dialog->FindObject(object)->rect, before, PaintWindow(host, window)))
            << object;
    }
    SetPor(nullptr);
    host.dialogs.Close(reference);
}

TEST_F(PicturesOfWindowsTest, AMethodIsSeenLineByLine) {
    HostWindow& window = host.windows.At(0);
    host.windows.SetMethodText(window, "first\rsecond");
    const Canvas before = PaintWindow(host, window);
    host.windows.SetMethodText(window, "first\rthird");
    const Rect secondLine{18, 0, 40, 100};
    EXPECT_TRUE(DifferOnlyIn(secondLine, before, PaintWindow(host, window)));
}

TEST_F(PicturesOfWindowsTest, AScriptSavesTheFrontmostVisibleWindow) {
    const Script script = ParseScript("window add process 1 kind 8 invisible\n"
                                      "picture \"fen\xC3\xAAtre\"\n"
                                      "expect problems 0\n",
                                      "script");
    ASSERT_THAT(script.errors, testing::IsEmpty());
    EXPECT_THAT(ParseScript("picture \"../front\"", "script").errors, testing::SizeIs(1));
    std::ostringstream out;
    const auto play = [&](const std::filesystem::path& folder) {
        Player player(session, {out, false});
        player.stage.pictures = folder;
        return player.Play(script);
    };
    EXPECT_TRUE(play(""));
    EXPECT_THAT(out.str(), testing::HasSubstr("no folder for pictures"));

    HostWindow& front = host.windows.At(1);
    SetPor(&front.port);
    const Rect bar{10, 10, 60, 20};
    PaintRect(&bar);
    SetPor(nullptr);
    const std::filesystem::path folder = FromAnsi(host.ScratchPath());
    EXPECT_TRUE(play(folder));
    std::ifstream file(folder / L"fen\xEAtre.png", std::ios::binary);
    std::ostringstream contents;
    contents << file.rdbuf();
    const std::string bytes = contents.str();
    int width = 0;
    int height = 0;
    int channels = 0;
    unsigned char* const pixels =
        stbi_load_from_memory(reinterpret_cast<const unsigned char*>(bytes.data()),
                              static_cast<int>(bytes.size()), &width, &height, &channels, 3);
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(width, 634); // 632 x 440, framed
    EXPECT_EQ(height, 463);
    const unsigned char* const inBar = pixels + 3 * (40 * width + 15);
    EXPECT_EQ(inBar[0] + inBar[1] + inBar[2], 0);
    EXPECT_GT(inBar[3 * 20], 0);
    stbi_image_free(pixels);
}

} // namespace
