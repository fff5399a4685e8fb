#include "testhost/screen/Dialogs.h"
#include "testhost/values/Arrays.h"

#include <algorithm>

// Arrays and hierarchical lists in dialogs. Arrays are variables of the dialog.

namespace {
constexpr long mostElements = 1'000'000;
constexpr long stringSlot = 256;

bool IsText(ValueKind kind) {
    return kind == ValueKind::String || kind == ValueKind::Text;
}
} // namespace

bool Dialog::NewArray(const std::string& name, ValueKind kind) {
    if (!HostVariables::IsName(name)) {
        return false;
    }
    host.variables.Set(context, name,
                       ArrayValue(kind, {}, kind == ValueKind::StringArray ? stringSlot : 0));
    return true;
}

ArrayBlock* Dialog::FindArray(const std::string& name, ValueKind& kind) {
    ValueBlock* block = Find(name);
    kind = block == nullptr ? ValueKind::None : BlockKind(block->type);
    return ElementKind(kind) == ValueKind::None ? nullptr : &block->array;
}

long Dialog::ArraySize(const std::string& name) {
    ValueKind kind = ValueKind::None;
    const ArrayBlock* array = FindArray(name, kind);
    return array == nullptr ? -1 : long{array->count};
}

std::optional<TypedValue> Dialog::Element(const std::string& name, long index) {
    ValueKind kind = ValueKind::None;
    const ArrayBlock* array = FindArray(name, kind);
    return array == nullptr ? std::nullopt
                            : FetchElement(kind, *array, index, host.variables.layout);
}

bool Dialog::SetElement(const std::string& name, long index, const TypedValue& value) {
    ValueKind kind = ValueKind::None;
    ArrayBlock* array = FindArray(name, kind);
    if (array == nullptr || index < 0 || index > mostElements) {
        return false;
    }
    TypedValue element = value;
    const ValueKind wanted = ElementKind(kind);
    if (IsText(wanted) && IsText(value.kind)) {
        element.kind = wanted;
    } else if (wanted == ValueKind::Real && value.kind == ValueKind::Long) {
        element = RealValue(static_cast<double>(value.numbers.at(0)));
    }
    return element.kind == wanted &&
           ReplaceElement(kind, *array, index, element, host.variables.layout);
}

void Dialog::DeleteElements(const std::string& name, long from, long count) {
    ValueKind kind = ValueKind::None;
    if (ArrayBlock* array = FindArray(name, kind)) {
        RemoveElements(kind, *array, from, count, host.variables.layout);
        array->currentIndex =
            static_cast<short>(std::min(long{array->currentIndex}, long{array->count}));
    }
}

bool Dialog::LoadTexts(const std::string& name, const std::vector<std::string>& texts) {
    if (!HostVariables::IsName(name)) {
        return false;
    }
    host.variables.Set(context, name, TextArrayValue(texts));
    return true;
}

// --- Hierarchical lists --------------------------------------------------------------------------

FieldList* Dialog::FindFieldList(const std::string& name) {
    for (auto& [object, list] : fieldLists) {
        if (SameText(object, name)) {
            return &list;
        }
    }
    return nullptr;
}

void Dialog::ClearFieldList(const std::string& name) {
    std::erase_if(fieldLists, [&](const auto& each) { return SameText(each.first, name); });
}

void Dialog::NewFieldList(const std::string& name, short table, long mask) {
    ClearFieldList(name);
    FieldList list;
    const Database& database = host.database;
    for (const short number : AllowedTables(database, mask)) {
        if (table == 0) {
            list.rows.push_back({number, 0, database.Table(number)->name});
        }
        if (table == 0 || table == number) {
            for (const short field : AllowedFields(database, number, mask)) {
                list.rows.push_back({number, field, database.Field(number, field)->name});
            }
        }
    }
    fieldLists[name] = std::move(list);
}

bool FieldAllowed(const DatabaseField& field, long mask) {
    constexpr unsigned alphaBit = 0;
    constexpr unsigned pictureBit = 3;
    auto bit = static_cast<unsigned>(field.type);
    if (field.type == FieldType::Alpha) {
        bit = alphaBit;
    } else if (field.type == FieldType::Picture) {
        bit = pictureBit;
    }
    return mask == 0 || (bit < 31 && (static_cast<unsigned long>(mask) >> bit & 1) != 0);
}

std::vector<short> AllowedFields(const Database& database, short table, long mask) {
    std::vector<short> fields;
    for (short field = 1; database.Field(table, field) != nullptr; ++field) {
        if (FieldAllowed(*database.Field(table, field), mask)) {
            fields.push_back(field);
        }
    }
    return fields;
}

std::vector<short> AllowedTables(const Database& database, long mask) {
    std::vector<short> tables;
    for (short table = 1; table <= database.TableCount(); ++table) {
        if (!AllowedFields(database, table, mask).empty()) {
            tables.push_back(table);
        }
    }
    return tables;
}
