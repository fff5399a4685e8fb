#include "platform/ResultCodes.h"
#include "testhost/model/PluginEntry.h"
#include "testhost/services/Service.h"

#include <cstring>
#include <memory>

namespace {
constexpr long handlerConstant = 6642;
// The handler leaves its four words to the caller to remove.
constexpr long wordsLeft = 16;

// Enters the plug-in's handler with an event, the object's name as the plug-in wrote it, its
// rectangle, and `data`, which the plug-in may change and which lives as long as the area.
AreaHandler EnterHandler(Host& host, const std::string& object, void* handler, void* data) {
    return [&host, object, entry = reinterpret_cast<PluginEntry>(handler),
            kept = std::make_shared<void*>(data)](Rect rect, EventRecord& event) {
        Str255 name;
        StorePascal(name, object);
        void* const words[4] = {kept.get(), name, &rect, &event};
        if (CallPlugin(host, entry, words, event.what, "area " + object,
                       "The handler of the area " + Quoted(object)) != wordsLeft) {
            host.Report("An area handler removed its arguments.");
        }
    };
}

void SetAreaHandler(ServiceCall& call) {
    const CallFields& fields = call.fields;
    const auto* name = reinterpret_cast<const char*>(fields.name);
    const std::string object(name, strnlen(name, sizeof fields.name));
    Dialog* dialog = call.host.dialogs.Find(fields.param1);
    if (dialog == nullptr || dialog->FindObject(object) == nullptr || fields.param3 == 0 ||
        fields.param2 != handlerConstant || fields.param3 != fields.param4) {
        call.host.Report("An area handler came for no object, or without its constant or its two "
                         "addresses.");
        call.fields.error = ResultCode::BadParameter;
        return;
    }
    dialog->areas.emplace_back(
        object,
        EnterHandler(call.host, object, reinterpret_cast<void*>(fields.param3), fields.handle));
}
} // namespace

std::span<const Service> AreaServices() {
    static constexpr Service services[] = {
        {Select("DialogSetAreaHandler"),
         RecordField::Param1 | RecordField::Name | RecordField::Handle | RecordField::Param2 |
             RecordField::Param3 | RecordField::Param4,
         SetAreaHandler},
    };
    return services;
}
