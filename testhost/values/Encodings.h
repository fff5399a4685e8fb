#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// The encodings that meet in the stand-in host. Its own paths, and what it asks Windows for, are
// wide, so that it reaches every file. What it tells a plug-in, and hears of it, is in the system's
// ANSI code page, as with every host of this kind. What it prints is UTF-8. Only Ansi() fails.

/// What a character of the ANSI code page is.
bool IsAnsiLetter(char character);
bool IsAnsiDigit(char character);

std::wstring FromAnsi(std::string_view text);
std::wstring FromUtf8(std::string_view text);
/// Text that people or plug-ins wrote: UTF-8 where its bytes are that, else ANSI.
std::wstring FromEither(std::string_view text);

std::string Utf8(std::wstring_view text);
/// A path as it is printed.
std::string Shown(const std::filesystem::path& path);
/// Throws std::runtime_error, which names the path, when the code page lacks one of its characters.
std::string Ansi(std::wstring_view path);
/// The same for any text, with something similar for what is lacking.
std::string NearestAnsi(std::wstring_view text);
