#include "testhost/resources/Compiler.h"

#include "testhost/resources/Text.h"
#include "testhost/toolbox/resources/Fork.h"

#include <algorithm>

namespace {
struct Resource {
    unsigned long type = 0;
    short id = 0;
    std::string name;
    size_t line = 0; ///< where it begins
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
    void AddLine(std::string_view text) {
        ++line;
        if (HasForeignCharacter(text)) {
            throw ScriptError("characters beyond ASCII are written \\xNN, in the Macintosh set");
        }
        Words words(text);
        if (words.AtEnd()) {
            return;
        }
        if (words.TakeIf("resource")) {
            Begin(words);
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

    size_t line = 0; ///< that was read last

  private:
    void Begin(Words& words) {
        // Even when the line is wrong: the lines that follow belong to it, not to the one before.
        Resource& resource = resources.emplace_back();
        resource.line = line;
        resource.type = TakeResourceType(words);
        resource.id = static_cast<short>(words.TakeNumber("a resource's number", -0x8000, 0x7FFF));
        if (words.IsString()) {
            resource.name = words.TakeString("a name");
        }
        if (resource.name.size() > 255) {
            throw ScriptError("a resource's name has at most 255 bytes");
        }
        const auto same =
            std::find_if(resources.begin(), resources.end() - 1, [&](const Resource& other) {
                return other.type == resource.type && other.id == resource.id;
            });
        if (same != resources.end() - 1) {
            throw ScriptError("there is a resource of this type and number already, on line " +
                              std::to_string(same->line));
        }
    }

    std::vector<Resource> resources;
};
} // namespace

CompiledResources CompileResources(std::string_view text, const std::string& name) {
    CompiledResources compiled;
    Compiler compiler;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        try {
            compiler.AddLine(line);
        } catch (const ScriptError& error) {
            compiled.errors.push_back(name + ":" + std::to_string(compiler.line) + ": " +
                                      error.what());
        }
    }
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
