#include "testhost/resources/Compiler.h"

#include "testhost/resources/Text.h"
#include "testhost/session/TextFile.h"
#include "testhost/session/Values.h"
#include "testhost/toolbox/resources/Fork.h"

#include <map>
#include <utility>

namespace {
struct Resource {
    unsigned long type = 0;
    short id = 0;
    std::string name;
    ResourceBytes contents;
};

// Whether a character stands outside ASCII, in a string or a word. Comments may have any.
bool HasForeignCharacter(std::string_view line) {
    bool inString = false;
    for (size_t place = 0; place < line.size(); ++place) {
        const char character = line[place];
        if (static_cast<unsigned char>(character) >= 0x80) {
            return true;
        }
        if (character == '#' && !inString) {
            return false;
        }
        if (character == '"') {
            inString = !inString;
        } else if (character == '\\' && inString) {
            ++place;
        }
    }
    return false;
}

class Compiler {
  public:
    void AddLine(std::string_view text, size_t line) {
        if (HasForeignCharacter(text)) {
            throw ScriptError("characters beyond ASCII are written \\xNN, in the Macintosh set");
        }
        Words words(text);
        if (words.AtEnd()) {
            return;
        }
        if (words.TakeIf("resource")) {
            Begin(words, line);
        } else if (resources.empty()) {
            throw ScriptError(R"(the first line begins a resource: resource "TYPE" ID ["NAME"])");
        } else {
            AddResourceLine(words, resources.back().contents);
        }
        words.ExpectEnd();
        if (!resources.empty() && resources.back().contents.bytes.size() > longestForkData) {
            throw ScriptError("the resource is too long for a resource file");
        }
    }

    std::optional<std::string> Fork() const {
        std::vector<ForkResource> views;
        for (const Resource& resource : resources) {
            views.push_back({resource.type, resource.id, resource.name, resource.contents.bytes});
        }
        return WriteResourceFork(views);
    }

  private:
    void Begin(Words& words, size_t line) {
        bytesBefore += resources.empty() ? 0 : resources.back().contents.bytes.size();
        // In whatever order they lie in the file, the last one begins where no place leads.
        const bool fits = bytesBefore <= 2 * longestForkData;
        if (!fits) {
            resources.pop_back(); // there is an error, and no reason to keep more and more
        }
        // Even when the line is wrong: the lines that follow belong to it, not to the one before.
        Resource& resource = resources.emplace_back();
        if (!fits) {
            throw ScriptError("the resources before this one are too long for a resource file");
        }
        resource.type = TakeResourceType(words);
        resource.id = static_cast<short>(words.TakeNumber("a resource's number", -0x8000, 0x7FFF));
        if (words.IsString()) {
            resource.name = words.TakeString("a name");
        }
        if (resource.name.size() > 255) {
            throw ScriptError("a resource's name has at most 255 bytes");
        }
        const auto [known, isNew] = begun.try_emplace({resource.type, resource.id}, line);
        if (!isNew) {
            throw ScriptError("there is a resource of this type and number already, on line " +
                              std::to_string(known->second));
        }
    }

    std::vector<Resource> resources;
    size_t bytesBefore = 0;                                  ///< in front of the last one
    std::map<std::pair<unsigned long, short>, size_t> begun; ///< on which line, by type and number
};
} // namespace

CompiledResources CompileResources(std::string_view text, const std::string& name) {
    CompiledResources compiled;
    Compiler compiler;
    LineReader lines(text, name);
    lines.ForEach([&](std::string_view line, size_t number) { compiler.AddLine(line, number); });
    compiled.errors = std::move(lines.errors);
    if (!compiled.errors.empty()) {
        return compiled;
    }
    if (auto fork = compiler.Fork()) {
        compiled.fork = std::move(*fork);
    } else {
        compiled.errors.push_back(name + ": the resources are too many or too long for one file");
    }
    return compiled;
}
