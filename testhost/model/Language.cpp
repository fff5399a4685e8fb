#include "testhost/model/Language.h"

#include "testhost/model/CommandNames.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <cctype>

#include <windows.h>

namespace {
bool IsName(std::string_view name) {
    return !name.empty() && name.size() <= longestLanguageName && IsAnsiLetter(name.front()) &&
           name.back() != ' ' && std::ranges::all_of(name, [](char character) {
               return IsAnsiLetter(character) || IsAnsiDigit(character) || character == ' ' ||
                      character == '_' || character == '\'';
           });
}
} // namespace

std::string FoldCase(std::string_view name) {
    std::string folded(name);
    LCMapStringA(LOCALE_USER_DEFAULT, LCMAP_LOWERCASE, name.data(), static_cast<int>(name.size()),
                 folded.data(), static_cast<int>(folded.size()));
    return folded;
}

Language::Language() {
    for (const NamedCommand& command : firstCommandNames) {
        commandNames.emplace(command.number, command.name);
    }
}

std::string_view Language::CommandName(long number) const {
    const auto found = commandNames.find(number);
    return found != commandNames.end() ? std::string_view(found->second) : std::string_view();
}

bool Language::RenameCommand(long number, std::string name) {
    const auto found = commandNames.find(number);
    if (found == commandNames.end() || !IsName(name)) {
        return false;
    }
    found->second = std::move(name);
    return true;
}

long Language::DefineMethod(const std::string& name, std::string source) {
    const long number = FindMethod(name);
    if (number != 0) {
        methods[static_cast<size_t>(number) - 1].source = std::move(source);
        return number;
    }
    methods.push_back({name, std::move(source)});
    return methodNumbers[FoldCase(name)] = static_cast<long>(methods.size());
}

long Language::FindMethod(std::string_view name) const {
    const auto found = methodNumbers.find(FoldCase(name));
    return found != methodNumbers.end() ? found->second : 0;
}

const HostMethod* Language::Method(long number) const {
    if (number < 1 || static_cast<size_t>(number) > methods.size()) {
        return nullptr;
    }
    return &methods[static_cast<size_t>(number) - 1];
}

long Language::VariableNumber(const std::string& name) {
    const std::string folded = FoldCase(name);
    const auto found = std::ranges::find(pointedTo, folded);
    if (found == pointedTo.end()) {
        pointedTo.push_back(folded);
        return static_cast<long>(pointedTo.size());
    }
    return found - pointedTo.begin() + 1;
}
