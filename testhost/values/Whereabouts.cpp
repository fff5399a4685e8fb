#include "testhost/values/Whereabouts.h"

#include "testhost/toolbox/Control.h"

#include <utility>

namespace {
Whereabouts current; // of all hosts: one plug-in is at work at a time
}

const Whereabouts& CurrentWhereabouts() {
    return current;
}

void SetWhereabouts(Whereabouts place) {
    if (place != current) {
        ToolboxSetPlace(place ? place->c_str() : nullptr);
    }
    current = std::move(place);
}

std::string Under(const Whereabouts& place) {
    return place ? ", under " + *place : std::string();
}
