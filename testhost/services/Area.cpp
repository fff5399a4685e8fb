#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/plugins/Session.h"
#include "testhost/screen/Areas.h"
#include "testhost/services/Services.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr unsigned short lastEvent = 17;
constexpr long handlerConstant = 6642;
/// The handler leaves its four words to the caller to remove.
constexpr long wordsLeft = 16;

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
    call.host.areas.Install(fields.param1, object, reinterpret_cast<void*>(fields.param3),
                            fields.handle);
}

constexpr Service services[] = {
    {Select("DialogSetAreaHandler"),
     RecordField::Param1 | RecordField::Name | RecordField::Handle | RecordField::Param2 |
         RecordField::Param3 | RecordField::Param4,
     SetAreaHandler},
};

} // namespace

std::span<const Service> AreaServices() {
    return services;
}

void Areas::Install(long dialog, const std::string& object, void* handler, void* data) {
    areas.push_back(
        std::make_shared<Area>(Area{dialog, object, handler, reinterpret_cast<long>(data)}));
}

Areas::List::iterator Areas::Find(long dialog, const std::string& object) {
    return std::find_if(areas.begin(), areas.end(), [&](const auto& area) {
        return area->dialog == dialog && area->object == object;
    });
}

bool Areas::Send(long dialog, const std::string& object, EventRecord& event) {
    const auto found = Find(dialog, object);
    Dialog* open = host.dialogs.Find(dialog);
    if (found == areas.end() || open == nullptr) {
        return false;
    }
    const std::shared_ptr<Area> area = *found;
    if (event.what == lastEvent) {
        areas.erase(found);
    }
    const DialogObject* place = open->FindObject(object);
    Rect rect = place != nullptr ? place->rect : Rect{};
    Str255 name;
    StorePascal(name, object);
    GrafPort* former = nullptr;
    GetPort(&former);
    SetPor(static_cast<GrafPort*>(open->window));
    void* const words[4] = {&area->data, name, &rect, &event};
    const long left = CallPlugin(host, reinterpret_cast<PluginEntry>(area->handler), words,
                                 event.what, "area " + object);
    SetPor(former);
    if (left != wordsLeft) {
        host.Report("An area handler removed its arguments.");
    }
    return true;
}

void Areas::CloseDialog(long dialog) {
    const auto ofDialog = [=](const auto& area) { return area->dialog == dialog; };
    for (auto area = std::find_if(areas.begin(), areas.end(), ofDialog); area != areas.end();
         area = std::find_if(areas.begin(), areas.end(), ofDialog)) {
        EventRecord event = {};
        event.what = lastEvent;
        if (!Send(dialog, std::string((*area)->object), event)) {
            areas.erase(area);
        }
    }
}
