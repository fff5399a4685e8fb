#pragma once

#include <string>
#include <string_view>

class Player;

/// A name that stands for a text in the strings of a script: "${scratch}".
struct Variable {
    std::string_view name;
    std::string_view help;
    std::wstring (*value)(Player& player);
};

/// The variable of this name. Throws ScriptError when there is none.
const Variable& FindVariable(std::string_view name);
/// Explains all of them, a line each.
std::string DescribeVariables();
