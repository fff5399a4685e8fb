#include "testhost/model/UnderWay.h"

#include <utility>

const EntryUnderWay* EntryUnderWay::innermost = nullptr;
std::function<void(const EntryUnderWay*)> EntryUnderWay::onChanged;

EntryUnderWay::EntryUnderWay(std::string itsName) : name(std::move(itsName)), outer(innermost) {
    SetInnermost(this);
}

EntryUnderWay::~EntryUnderWay() {
    SetInnermost(outer);
}

void EntryUnderWay::SetInnermost(const EntryUnderWay* entry) {
    if (innermost != entry) {
        innermost = entry;
        if (onChanged) {
            onChanged(entry);
        }
    }
}
