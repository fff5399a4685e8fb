#pragma once

#include <string>
#include <string_view>

/// What a sentence about a plug-in has in common with others about the same fault: without
/// addresses, lines, sizes and contents, but with the command that it names.
std::string SignatureOf(std::string_view sentence);
