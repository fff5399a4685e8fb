#include "testhost/session/Player.h"
#include "testhost/session/Values.h"
#include "testhost/statements/Parsers.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>
#include <iterator>
#include <utility>

// What plug-ins ask of the system around them: its colours, an update's drawing context, the
// picture editor, the structure's resources.

Action ParseSetColour(Words& words) {
    constexpr std::string_view names[] = {"background", "white", "grey", "black"}; // in their order
    const auto* name =
        std::ranges::find_if(names, [&](std::string_view each) { return words.TakeIf(each); });
    if (name == std::end(names)) {
        throw ScriptError("the system's colours are background, white, grey and black");
    }
    const auto component = [&](std::string_view what) {
        return static_cast<unsigned short>(words.TakeNumber(what, 0, 0xFFFF));
    };
    RGBColor colour{};
    colour.red = component("red");
    colour.green = component("green");
    colour.blue = component("blue");
    return [place = name - std::begin(names), colour](Player& player) {
        player.host.systemColors.colors[place] = colour;
    };
}

Action ParseSetUpdateContext(Words& words) {
    return [context = words.TakeNumber("a drawing context")](Player& player) {
        player.host.updateContext = context;
    };
}

Action ParseSetStrict(Words& words) {
    return [strict = words.TakeOnOff()](Player&) { ToolboxSetStrict(strict ? 1 : 0); };
}

Action ParseAnswerPicture(Words& words) {
    std::optional<std::string> edit;
    if (!words.TakeIf("cancel")) {
        edit = words.TakeString("the picture's bytes or 'cancel'");
    }
    return [edit](Player& player) { player.host.pictureEdits.push_back(edit); };
}

Action ParseStructureResource(Words& words) {
    words.Take("resource");
    StructureResource resource{.type = TakeResourceType(words)};
    resource.id = static_cast<short>(words.TakeNumber("a resource's number", -0x8000, 0x7FFF));
    resource.bytes = words.TakeString("its name or its bytes");
    if (words.IsString()) {
        resource.name = std::exchange(resource.bytes, words.TakeString("its bytes"));
    }
    if (resource.name.size() > 255) {
        throw ScriptError("a resource's name has at most 255 bytes");
    }
    return [resource](Player& player) {
        StructureResources& resources = player.host.structureResources;
        StructureResource added = resource;
        added.timestamp = resources.NextTimestamp();
        if (!resources.File(StructureResources::structureFile)->Add(std::move(added))) {
            player.Fail("the structure has a resource of this type and number already");
        }
    };
}
