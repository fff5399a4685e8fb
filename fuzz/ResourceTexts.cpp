// Resource texts: what is compiled is read back, and each resource is what it is alone.

#include "fuzz/Harness.h"
#include "testhost/resources/Compiler.h"
#include "testhost/session/Words.h"
#include "testhost/toolbox/resources/Fork.h"

#include <algorithm>

namespace {
std::vector<ForkResource> ResourcesIn(const std::string& fork) {
    std::vector<ForkResource> resources;
    Require(ReadResourceFork(fork, &resources) == 0, "what was compiled cannot be read");
    return resources;
}

// The text in pieces of one resource each.
std::vector<std::string> Pieces(std::string_view text) {
    std::vector<std::string> pieces;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        const std::string_view line = text.substr(0, end);
        if (pieces.empty() || Words(line).TakeIf("resource")) {
            pieces.emplace_back();
        }
        pieces.back() += line;
        text.remove_prefix(end);
    }
    return pieces;
}

void RequireTold(const std::vector<std::string>& errors) {
    for (const std::string& error : errors) {
        Require(error.starts_with("name:") && error.size() > std::size("name:1: "),
                "an error is not told");
    }
}
} // namespace

void Fuzz(Input& input) {
    const std::string text = input.ConsumeRemainingBytesAsString();
    const CompiledResources whole = CompileResources(text, "name");
    RequireTold(whole.errors);
    Require(whole.errors.empty() != whole.fork.empty(), "a fork comes without errors only");
    if (!whole.errors.empty()) {
        return;
    }
    const std::vector<ForkResource> resources = ResourcesIn(whole.fork);
    const auto again = WriteResourceFork(resources);
    Require(again && ResourcesIn(*again) == resources, "written again it is another fork");
    std::size_t count = 0;
    for (const std::string& piece : Pieces(text)) {
        const CompiledResources part = CompileResources(piece, "name");
        Require(part.errors.empty(), "a part is wrong where the whole is not");
        for (const ForkResource& resource : ResourcesIn(part.fork)) {
            Require(std::ranges::count(resources, resource) == 1,
                    "a resource is another one among others");
            ++count;
        }
    }
    Require(count == resources.size(), "there are more resources than were said");
}
