#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <istream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Most bytes of a text that people write (a script, a database, a resource text), and of one of
/// its lines, in which an array of 100,000 short strings finds room.
inline constexpr size_t mostTextBytes = 16 * 1024 * 1024;
inline constexpr size_t mostLineBytes = 4 * 1024 * 1024;

/// What a file begins with.
struct FileStart {
    std::string bytes;
    unsigned long long more = 0; ///< how many bytes follow
};

/// The first bytes of a file, at most `most`; nothing when it cannot be read, or is no file on a
/// disk: what a device or a pipe holds may never end.
std::optional<FileStart> ReadStart(const std::filesystem::path& path, size_t most);
/// A whole text. Throws ScriptError, which says that `what` ("the script a.txt") is missing or
/// too long.
std::string ReadText(const std::filesystem::path& path, const std::string& what);
std::string ReadText(std::istream& in, const std::string& what);

/// Reads a text line by line and keeps what is wrong with it.
class LineReader {
  public:
    /// `name` is for messages.
    LineReader(std::string_view wholeText, std::string textName);

    /// Runs `take` with each line, but for its end, and its number from 1. A UTF-8 mark in front
    /// is left out.
    void ForEach(const std::function<void(std::string_view line, size_t number)>& take);
    /// Does something else with the text that belongs to a line.
    void At(size_t line, const std::function<void()>& act);

    /// "name:line: message" of each ScriptError thrown. When there are very many only the first
    /// are kept, and the rest of the text is not read.
    std::vector<std::string> errors;

  private:
    bool IsFull() const;

    std::string_view text;
    std::string name;
};
