#include "testhost/model/UnderWay.h"

#include "testhost/model/ToolboxFailures.h"

#include <utility>

const EntryUnderWay* EntryUnderWay::innermost = nullptr;
std::function<void(const EntryUnderWay*)> EntryUnderWay::onChanged;

EntryUnderWay::EntryUnderWay(std::string itsName, const std::string& itsPlace)
    : name(std::move(itsName)),
      place(std::make_shared<const std::string>(itsPlace)),
      outer(innermost) {
    SetInnermost(this);
}

EntryUnderWay::~EntryUnderWay() {
    SetInnermost(outer);
}

void EntryUnderWay::SetInnermost(const EntryUnderWay* entry) {
    if (innermost != entry) {
        innermost = entry;
        ToolboxFailures::SetEntered(entry != nullptr);
        SetWhereabouts(entry != nullptr ? entry->place : nullptr);
        if (onChanged) {
            onChanged(entry);
        }
    }
}
