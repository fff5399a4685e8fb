#include "testhost/session/Variables.h"

#include "testhost/session/Player.h"
#include "testhost/session/Words.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <iterator>

#include <windows.h>

namespace {
std::wstring ShortForm(const std::wstring& path) {
    wchar_t shortPath[MAX_PATH] = L"";
    GetShortPathNameW(path.c_str(), shortPath, std::size(shortPath));
    return shortPath;
}

constexpr Variable variables[] = {
    {"scratch", "a folder for the session, which goes with it",
     [](Player& player) { return FromAnsi(player.host.ScratchPath()); }},
    {"short-scratch", "the same in its short (8.3) form",
     [](Player& player) { return ShortForm(FromAnsi(player.host.ScratchPath())); }},
    {"structure", "the structure's folder",
     [](Player& player) { return FromAnsi(player.host.StructureFolder()); }},
    {"data", "the data file's folder",
     [](Player& player) { return FromAnsi(player.host.DataFolder()); }},
    {"prefs", "the preferences folder",
     [](Player& player) { return FromAnsi(player.host.PrefsFolder()); }},
    {"library", "the folder of the plug-in's DLL",
     [](Player& player) { return player.libraryFolder.wstring(); }},
    {"temp", "the system's folder for temporary files",
     [](Player&) { return FromAnsi(TemporaryFolder()); }},
};
} // namespace

const Variable& FindVariable(std::string_view name) {
    const auto* found = std::ranges::find(variables, name, &Variable::name);
    if (found == std::end(variables)) {
        throw ScriptError("unknown variable '${" + std::string(name) + "}' in a string");
    }
    return *found;
}

std::string DescribeVariables() {
    std::string lines;
    for (const Variable& variable : variables) {
        std::string name = "  ${" + std::string(variable.name) + "}";
        name.resize(20, ' ');
        lines += name + std::string(variable.help) + "\n";
    }
    return lines;
}
