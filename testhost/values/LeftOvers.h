#pragma once

#include "testhost/values/Reporter.h"
#include "testhost/values/Whereabouts.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

/// What the plug-in has left over at the end. Equal ones are counted together, and told in one
/// sentence: "2 handles of 5 bytes (48 65 6C 6C 6F "Hello") that were made under a.session:3,
/// command 1() are still alive."
class LeftOvers {
  public:
    struct Kind {
        const char* name; ///< "handle"
        const char* begun = "made";
        const char* state = "alive";
    };

    /// `description` follows the kind's name; `place`, where it was made, may be null.
    void Add(const Kind& kind, const std::string& description, const char* place);
    void Add(const Kind& kind, const std::string& description, const Whereabouts& place) {
        Add(kind, description, place ? place->c_str() : nullptr);
    }
    /// At most 20 sentences for each kind; one more then says how many it would have been.
    void Report(const Reporter& report) const;

    // For descriptions.

    /// "1 byte", "5 bytes".
    static std::string Count(long count, const std::string& noun);
    /// How many bytes, and the first ones: "5 bytes (48 65 6C 6C 6F "Hello")".
    static std::string Bytes(std::string_view bytes);

  private:
    struct Group {
        std::string description;
        std::string place;
        long count;
    };
    struct KindGroups {
        Kind kind;
        std::vector<Group> groups;
        std::map<std::string, size_t> byDescription; ///< and place: its group
    };

    std::vector<KindGroups> kinds; ///< in the order in which they came
};
