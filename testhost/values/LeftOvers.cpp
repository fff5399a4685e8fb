#include "testhost/values/LeftOvers.h"

#include <algorithm>
#include <cstdio>

namespace {
constexpr size_t mostGroups = 20;
constexpr size_t shownBytes = 8;

bool IsPrintable(char byte) {
    return byte >= ' ' && byte <= '~' && byte != '"';
}
} // namespace

void LeftOvers::Add(const Kind& kind, const std::string& description, const char* place) {
    auto found = std::ranges::find(kinds, std::string_view(kind.name),
                                   [](const KindGroups& each) { return each.kind.name; });
    if (found == kinds.end()) {
        found = kinds.insert(kinds.end(), {kind, {}, {}});
    }
    const std::string where =
        place != nullptr ? std::string("under ") + place : "since the session began";
    const auto [group, isNew] =
        found->byDescription.try_emplace(description + '\n' + where, found->groups.size());
    if (isNew) {
        found->groups.push_back({description, where, 0});
    }
    ++found->groups[group->second].count;
}

void LeftOvers::Report(const Reporter& report) const {
    for (const auto& [kind, groups, byDescription] : kinds) {
        for (size_t index = 0; index < std::min(groups.size(), mostGroups); ++index) {
            const auto& [description, place, count] = groups[index];
            std::string sentence = Count(count, kind.name) + " " + description;
            sentence += count == 1 ? " that was " : " that were ";
            sentence.append(kind.begun).append(" ").append(place);
            sentence += count == 1 ? " is still " : " are still ";
            report(sentence.append(kind.state) + ".");
        }
        if (groups.size() > mostGroups) {
            long more = 0;
            for (size_t index = mostGroups; index < groups.size(); ++index) {
                more += groups[index].count;
            }
            report("And " + Count(more, std::string("more ") + kind.name) + ", of " +
                   std::to_string(groups.size() - mostGroups) +
                   " other sizes, contents or places, " + (more == 1 ? "is" : "are") + " still " +
                   kind.state + ".");
        }
    }
}

std::string LeftOvers::Count(long count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string LeftOvers::Bytes(std::string_view bytes) {
    std::string text = Count(static_cast<long>(bytes.size()), "byte");
    const std::string_view shown = bytes.substr(0, shownBytes);
    if (shown.empty()) {
        return text;
    }
    const char* const more = bytes.size() > shownBytes ? "..." : "";
    text += " (";
    for (const char byte : shown) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02X ", static_cast<unsigned char>(byte));
        text += digits;
    }
    text += more;
    if (std::ranges::all_of(shown, IsPrintable)) {
        text += std::string(*more != '\0' ? " " : "") + "\"" + std::string(shown) + more + "\"";
    } else if (*more == '\0') {
        text.pop_back(); // the space
    }
    return text + ")";
}
