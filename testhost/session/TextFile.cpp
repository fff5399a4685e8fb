#include "testhost/session/TextFile.h"

#include "testhost/session/Words.h"

#include <algorithm>
#include <memory>

#include <windows.h>

namespace {
constexpr size_t mostErrors = 100;
constexpr size_t longestMessage = 500;

struct Closer {
    using pointer = HANDLE;
    void operator()(HANDLE file) const {
        if (file != INVALID_HANDLE_VALUE) {
            CloseHandle(file);
        }
    }
};

[[noreturn]] void FailTooLong(const std::string& what) {
    throw ScriptError(what + " has more than " + std::to_string(mostTextBytes >> 20) + " MB");
}
} // namespace

std::optional<FileStart> ReadStart(const std::filesystem::path& path, size_t most) {
    const std::unique_ptr<HANDLE, Closer> file(
        CreateFileW(path.wstring().c_str(), GENERIC_READ,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                    FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size{};
    if (file.get() == INVALID_HANDLE_VALUE || GetFileType(file.get()) != FILE_TYPE_DISK ||
        GetFileSizeEx(file.get(), &size) == 0) {
        return std::nullopt;
    }
    const auto all = static_cast<unsigned long long>(size.QuadPart);
    FileStart start;
    start.bytes.resize(static_cast<size_t>(std::min<unsigned long long>(all, most)));
    DWORD read = 0; // less when the file has become shorter
    if (ReadFile(file.get(), start.bytes.data(), static_cast<DWORD>(start.bytes.size()), &read,
                 nullptr) == 0) {
        return std::nullopt;
    }
    start.bytes.resize(read);
    start.more = all - read;
    return start;
}

std::string ReadText(const std::filesystem::path& path, const std::string& what) {
    std::optional<FileStart> file = ReadStart(path, mostTextBytes);
    if (!file) {
        throw ScriptError(what + " is missing or cannot be read");
    }
    if (file->more != 0) {
        FailTooLong(what);
    }
    return std::move(file->bytes);
}

std::string ReadText(std::istream& in, const std::string& what) {
    std::string text;
    char part[4096];
    while (in.read(part, sizeof part), in.gcount() > 0) {
        text.append(part, static_cast<size_t>(in.gcount()));
        if (text.size() > mostTextBytes) {
            FailTooLong(what);
        }
    }
    return text;
}

LineReader::LineReader(std::string_view wholeText, std::string textName)
    : text(wholeText), name(std::move(textName)) {
    constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
    if (text.starts_with(utf8Mark)) {
        text.remove_prefix(utf8Mark.size());
    }
}

void LineReader::ForEach(const std::function<void(std::string_view, size_t)>& take) {
    for (size_t number = 1; !text.empty() && !IsFull(); ++number) {
        const size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        At(number, [&] {
            if (line.size() > mostLineBytes) {
                throw ScriptError("a line has at most " + std::to_string(mostLineBytes >> 20) +
                                  " MB");
            }
            take(line, number);
        });
    }
}

void LineReader::At(size_t line, const std::function<void()>& act) {
    if (IsFull()) {
        return;
    }
    const std::string place = name + ":" + std::to_string(line) + ": ";
    try {
        act();
    } catch (const ScriptError& error) {
        const std::string message = error.what();
        errors.push_back(place + message.substr(0, longestMessage) +
                         (message.size() > longestMessage ? " ..." : ""));
        if (errors.size() == mostErrors) {
            errors.push_back(place + "so much is wrong that the rest was not read");
        }
    }
}

bool LineReader::IsFull() const {
    return errors.size() > mostErrors;
}
