#include "testhost/session/Player.h"
#include "testhost/session/TextFile.h"
#include "testhost/statements/Parsers.h"
#include "testhost/values/Encodings.h"

#include <filesystem>
#include <optional>

#include <windows.h>

namespace {
constexpr size_t mostShown = 1024 * 1024;
constexpr size_t mostInMessage = 1000;

// What is at a path of Windows: a file with what it begins with, a folder, or nothing.
std::string DescribeFile(const std::filesystem::path& path, size_t most) {
    const DWORD attributes = GetFileAttributesW(path.wstring().c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return "nothing there";
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return "a folder";
    }
    const std::optional<FileStart> file = ReadStart(path, most);
    if (!file) {
        return "a file that cannot be read";
    }
    return "a file with " + Quoted(file->bytes) +
           (file->more > 0 ? " and " + std::to_string(file->more) + " more bytes" : "");
}

// Text somewhere in a file, of a long one in its first MB.
Action ExpectHolding(const std::wstring& path, const std::string& text) {
    return [path, text](Player& player) {
        const std::optional<FileStart> file = ReadStart(path, mostShown);
        const bool held = file && file->bytes.find(text) != std::string::npos;
        player.Expect(held, Shown(path) + ": a file holding " + Quoted(text),
                      DescribeFile(path, mostInMessage));
    };
}
} // namespace

Action ParseExpectFile(Words& words) {
    std::wstring path = words.TakeWideString("the file's path");
    if (words.TakeIf("holding")) {
        return ExpectHolding(path, words.TakeString("what it holds"));
    }
    std::optional<std::string> contents;
    if (words.IsString()) {
        contents = words.TakeString("its contents");
    }
    const std::string expected = "a file" + (contents ? " with " + Quoted(*contents) : "");
    // Beyond its contents, to show what a longer file goes on with.
    const size_t most = contents.value_or("").size() + mostInMessage;
    return [path, expected, most](Player& player) {
        std::string got = DescribeFile(path, most);
        bool held = expected == "a file" ? got.starts_with(expected) : got == expected;
        player.Expect(held, Shown(path) + ": " + expected, got);
    };
}

Action ParseEcho(Words& words) {
    return [text = Utf8(words.TakeWideString("a text"))](Player& player) { player.Echo(text); };
}

Action ParseShow(Words& words) {
    return [path = words.TakeWideString("the file's path")](Player& player) {
        std::optional<FileStart> file = ReadStart(path, mostShown);
        if (!file) {
            return player.Fail(Shown(path) + " cannot be read");
        }
        std::string& text = file->bytes;
        if (const size_t end = text.rfind('\n'); file->more > 0 && end != std::string::npos) {
            file->more += text.size() - (end + 1); // amid a character it might end else
            text.resize(end + 1);
        }
        size_t kept = 0; // lines end as they do on the screen
        for (size_t place = 0; place < text.size(); ++place) {
            if (text.compare(place, 2, "\r\n") != 0) {
                text[kept++] = text[place];
            }
        }
        text.resize(kept);
        player.Echo("=== " + Shown(path) + "\n" + Utf8(FromEither(text)) + "===" +
                    (file->more > 0 ? " and " + std::to_string(file->more) + " more bytes" : ""));
    };
}

Action ParseExpectFolder(Words& words) {
    return [path = words.TakeWideString("the folder's path")](Player& player) {
        std::string got = DescribeFile(path, mostInMessage);
        player.Expect(got == "a folder", Shown(path) + ": a folder", got);
    };
}

Action ParseExpectNoFile(Words& words) {
    return [path = words.TakeWideString("the file's path")](Player& player) {
        std::string got = DescribeFile(path, mostInMessage);
        player.Expect(got == "nothing there", Shown(path) + ": nothing there", got);
    };
}
