#pragma once

#include <string>
#include <string_view>
#include <vector>

/// What came of a resource text.
struct CompiledResources {
    std::string fork; ///< a resource fork in the classic format; empty when there are errors
    std::vector<std::string> errors; ///< "name:line: message", all of them
};

/// Compiles a whole resource text. `name` is how it appears in messages.
CompiledResources CompileResources(std::string_view text, const std::string& name);
