#include "testhost/plugins/PortableExecutable.h"
#include "testhost/validate/Cases.h"
#include "testhost/validate/Checks.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace {
const Case start = {.lines = {"start", "stop"}};

// "FourDPack" for "_FourDPack@16", which hosts do not look up.
std::string Undecorated(const std::string& name) {
    const size_t begin = name.starts_with('_') ? 1 : 0;
    return name.substr(begin, name.find('@') - begin);
}

void CheckExports(Workbench& bench, const PortableExecutable& file) {
    for (const char* const wanted : {"FourDPack", "FourDPackex"}) {
        if (std::ranges::find(file.exports, wanted) != file.exports.end()) {
            continue;
        }
        const auto decorated = std::ranges::find(file.exports, wanted, Undecorated);
        if (decorated != file.exports.end()) {
            bench.Find("The library exports " + *decorated + ", but hosts look up " + wanted +
                           ", without decoration.",
                       start);
        }
    }
}
} // namespace

void CheckLibrary(Workbench& bench) {
    std::ifstream file(std::filesystem::path(FromUtf8(bench.order.plugin)), std::ios::binary);
    const std::vector<unsigned char> bytes{std::istreambuf_iterator<char>(file), {}};
    if (const auto executable = PortableExecutable::Parse(bytes)) {
        CheckExports(bench, *executable);
    }
    // Whatever else keeps it from being loaded shows in the session, imports among it.
    const Outcome outcome = bench.Try(start);
    if (outcome.end != Outcome::End::Finished) {
        return;
    }
    bench.Try({.lines = {"reload 20", "start", "stop"}});
    bench.Try({.lines = {"start", "stop", "reload 20", "start", "stop"}});
}
