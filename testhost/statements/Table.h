#pragma once

#include "testhost/session/Script.h"

#include <ostream>
#include <string>
#include <string_view>

/// Reads a whole script.
Script ParseScript(std::string_view text, std::string name);
/// Explains every statement and every kind of value.
void PrintLanguageHelp(std::ostream& out);
