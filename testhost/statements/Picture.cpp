#include "testhost/pictures/Windows.h"
#include "testhost/session/Player.h"
#include "testhost/statements/Parsers.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace {
HostWindow* FrontmostVisible(Host& host) {
    for (size_t place = 0; place < host.windows.Count(); ++place) {
        if (HostWindow& window = host.windows.At(place); window.port.visible != 0) {
            return &window;
        }
    }
    return nullptr;
}

void SavePicture(Player& player, const std::wstring& name) {
    if (player.stage.pictures.empty()) {
        return player.Note("no picture \"" + Utf8(name) + "\": there is no folder for pictures");
    }
    HostWindow* const window = FrontmostVisible(player.host);
    if (window == nullptr) {
        return player.Fail("there is no visible window to make a picture of");
    }
    const std::filesystem::path path = player.stage.pictures.wstring() + L"/" + name + L".png";
    std::ofstream file(path, std::ios::binary);
    file << PaintWindow(player.host, *window).Png();
    file.close();
    if (!file) {
        return player.Fail("the picture " + Shown(path) + " cannot be written");
    }
    player.Note("picture " + Shown(path));
}

// A file's name, which cannot lead out of the folder.
std::wstring TakePictureName(Words& words) {
    std::wstring name = words.TakeWideString("the picture's name");
    const bool isPlain = std::ranges::all_of(name, [](wchar_t character) {
        return (character >= L' ' &&
                std::wstring_view(L"\\/:*?\"<>|").find(character) == std::wstring_view::npos);
    });
    if (name.empty() || !isPlain) {
        throw ScriptError("no file can have the name " + Quoted(Utf8(name)));
    }
    return name;
}
} // namespace

Action ParsePicture(Words& words) {
    return [name = TakePictureName(words)](Player& player) { SavePicture(player, name); };
}

Action ParseUserPicture(Words& words) {
    return Look([name = TakePictureName(words)](Player& player, const DialogState&) {
        SavePicture(player, name);
    });
}
