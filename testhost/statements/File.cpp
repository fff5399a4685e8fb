#include "testhost/session/Player.h"
#include "testhost/statements/Parsers.h"
#include "testhost/values/Encodings.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include <windows.h>

namespace {
std::string ContentsOf(std::istream& file) {
    std::ostringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

// What is at a path of Windows: a file with its contents, a folder, or nothing.
std::string DescribeFile(const std::filesystem::path& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return "nothing there";
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return "a folder";
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return "a file that cannot be read";
    }
    return "a file with " + Quoted(ContentsOf(file));
}
} // namespace

Action ParseExpectFile(Words& words) {
    std::wstring path = words.TakeWideString("the file's path");
    std::string expected =
        "a file" + (words.IsString() ? " with " + Quoted(words.TakeString("its contents")) : "");
    return [path, expected](Player& player) {
        std::string got = DescribeFile(path);
        bool held = expected == "a file" ? got.starts_with(expected) : got == expected;
        player.Expect(held, Shown(path) + ": " + expected, got);
    };
}

Action ParseEcho(Words& words) {
    return [text = Utf8(words.TakeWideString("a text"))](Player& player) { player.Echo(text); };
}

Action ParseShow(Words& words) {
    return [path = words.TakeWideString("the file's path")](Player& player) {
        std::ifstream file{std::filesystem::path(path)};
        if (!file) {
            return player.Fail(Shown(path) + " cannot be read");
        }
        player.Echo("=== " + Shown(path) + "\n" + Utf8(FromEither(ContentsOf(file))) + "===");
    };
}

Action ParseExpectFolder(Words& words) {
    return [path = words.TakeWideString("the folder's path")](Player& player) {
        std::string got = DescribeFile(path);
        player.Expect(got == "a folder", Shown(path) + ": a folder", got);
    };
}

Action ParseExpectNoFile(Words& words) {
    return [path = words.TakeWideString("the file's path")](Player& player) {
        std::string got = DescribeFile(path);
        player.Expect(got == "nothing there", Shown(path) + ": nothing there", got);
    };
}
