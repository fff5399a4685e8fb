#include "testhost/resources/Forms.h"

#include "host/boundary/Values.h"
#include "testhost/screen/Form.h"

#include <array>

namespace {
using Number = ResourceBytes::Number;

constexpr Number byteNumber{1, true};
constexpr Number shortNumber{2, true};
constexpr Number longNumber{4, true};
constexpr size_t headerSize = 8; // tag and length
constexpr size_t fontFiller = 4;

struct VariableWord {
    std::string_view word;
    unsigned char type;
};

constexpr VariableWord variableWords[] = {
    {"string", ValueType::String},   {"text", ValueType::Text},       {"long", ValueType::Long},
    {"real", ValueType::Real},       {"date", ValueType::Date},       {"time", ValueType::Time},
    {"boolean", ValueType::Boolean}, {"picture", ValueType::Picture},
};

struct ObjectWord {
    std::string_view word;
    std::string_view usage;
    FormObjectKind kind;
    bool hasType;  // the type of its variable comes behind its name
    bool hasTitle; // a title does
};

constexpr ObjectWord objectWords[] = {
    {"label", R"("NAME" "TITLE" PLACE)", FormObjectKind::Label, false, true},
    {"field", R"("NAME" string|text|long|real|date|time|boolean|picture PLACE)",
     FormObjectKind::Field, true, false},
    {"button", R"("NAME" "TITLE" [validate|cancel] PLACE)", FormObjectKind::Button, false, true},
    {"checkbox", R"("NAME" "TITLE" PLACE)", FormObjectKind::CheckBox, false, true},
    {"list", R"("NAME" PLACE)", FormObjectKind::ListBox, false, false},
    {"area", R"("NAME" PLACE)", FormObjectKind::Area, false, false},
};

void RequireForm(const ResourceBytes& resource) {
    if (!resource.bytes.starts_with(FormTag::Form)) {
        throw ScriptError("no form has begun in this resource: form size WIDTH HEIGHT");
    }
}

// Adds an atom, and to the form's length.
void AddAtom(ResourceBytes& resource, std::string_view tag, const std::string& data) {
    RequireForm(resource);
    resource.bytes += tag;
    resource.Append(static_cast<unsigned long>(data.size()), longNumber);
    resource.bytes += data;
    resource.AppendZeros(data.size() % 2);
    ResourceBytes length;
    length.Append(static_cast<unsigned long>(resource.bytes.size() - headerSize), longNumber);
    resource.bytes.replace(FormTag::Form.size(), length.bytes.size(), length.bytes);
}

unsigned long TakeShort(Words& words, std::string_view what, long lowest = -0x8000) {
    return static_cast<unsigned long>(words.TakeNumber(what, lowest, 0x7FFF));
}

unsigned char TakeType(Words& words) {
    const std::string name = words.TakeWord("the type of a field");
    for (const VariableWord& each : variableWords) {
        if (each.word == name) {
            return each.type;
        }
    }
    throw ScriptError("no field has the type '" + name + "'");
}

FormAction TakeAction(Words& words) {
    if (words.TakeIf("validate")) {
        return FormAction::Validate;
    }
    return words.TakeIf("cancel") ? FormAction::Cancel : FormAction::None;
}

// The numbers of an object's rectangle as they stand in the form, from LEFT TOP WIDTH HEIGHT.
std::array<unsigned long, 4> TakeRectangle(Words& words) {
    const long left = words.TakeNumber("the left side", 0, 0x3FFF);
    const long top = words.TakeNumber("the top", 0, 0x3FFF);
    const long width = words.TakeNumber("the width", 0, 0x3FFF);
    const long height = words.TakeNumber("the height", 0, 0x3FFF);
    return {static_cast<unsigned long>(top), static_cast<unsigned long>(left),
            static_cast<unsigned long>(top + height), static_cast<unsigned long>(left + width)};
}

unsigned char TakeBits(Words& words, std::string& variable) {
    unsigned bits = 0;
    while (!words.AtEnd()) {
        if (words.TakeIf("disabled")) {
            bits |= FormBit::Disabled;
        } else if (words.TakeIf("invisible")) {
            bits |= FormBit::Invisible;
        } else if (words.TakeIf("locked")) {
            bits |= FormBit::NotEditable;
        } else if (words.TakeIf("variable")) {
            variable = words.TakeString("a variable's name");
        } else {
            throw ScriptError("behind an object stand disabled, invisible, locked or variable");
        }
    }
    return static_cast<unsigned char>(bits);
}

void TakeForm(Words& words, ResourceBytes& resource) {
    if (!resource.bytes.empty()) {
        throw ScriptError("a form is all that is in its resource");
    }
    if (!words.TakeIf("size")) {
        throw ScriptError("a form begins with its size: form size WIDTH HEIGHT");
    }
    resource.bytes += FormTag::Form;
    resource.Append(0, longNumber);
    resource.bytes += FormTag::Layout;
    ResourceBytes size;
    size.Append(TakeShort(words, "the width", 0), shortNumber);
    size.Append(TakeShort(words, "the height", 0), shortNumber);
    AddAtom(resource, FormTag::Size, size.bytes);
}

void TakeFormFlags(Words& words, ResourceBytes& resource) {
    ResourceBytes data;
    data.AppendZeros(formFlagPlace);
    data.Append(TakeShort(words, "the first flag"), shortNumber);
    data.Append(TakeShort(words, "the second flag"), shortNumber);
    AddAtom(resource, FormTag::Flags, data.bytes);
}

void TakeFormFont(Words& words, ResourceBytes& resource) {
    ResourceBytes data;
    data.Append(TakeShort(words, "a font's number"), shortNumber);
    data.Append(TakeShort(words, "a font size"), shortNumber);
    data.AppendZeros(fontFiller);
    if (!words.TakeIf("style")) {
        throw ScriptError("behind a font stands its style: font N SIZE style N");
    }
    data.Append(TakeShort(words, "a style's number"), shortNumber);
    AddAtom(resource, FormTag::Font, data.bytes);
}

void TakeFormPage(Words& words, ResourceBytes& resource) {
    ResourceBytes data;
    data.Append(TakeShort(words, "a page's number", 0), shortNumber);
    AddAtom(resource, FormTag::Page, data.bytes);
}

void TakeFormObject(const ObjectWord& object, Words& words, ResourceBytes& resource) {
    const std::string name = words.TakeString("the object's name");
    const std::string title = object.hasTitle ? words.TakeString("its title") : std::string();
    const bool isPressed =
        object.kind == FormObjectKind::Button || object.kind == FormObjectKind::CheckBox;
    const unsigned char type = object.hasType
                                   ? TakeType(words)
                                   : static_cast<unsigned char>(isPressed ? ValueType::Long : 0);
    const FormAction action =
        object.kind == FormObjectKind::Button ? TakeAction(words) : FormAction::None;
    const auto sides = TakeRectangle(words);
    std::string variable;
    const unsigned char bits = TakeBits(words, variable);

    ResourceBytes data;
    data.Append(static_cast<unsigned char>(object.kind), byteNumber);
    data.Append(type, byteNumber);
    data.Append(static_cast<unsigned char>(action), byteNumber);
    data.Append(bits, byteNumber);
    for (const unsigned long side : sides) {
        data.Append(side, shortNumber);
    }
    for (const std::string& text : {name, variable, title}) {
        data.AppendPascal(text);
    }
    AddAtom(resource, FormTag::Object, data.bytes);
    std::string fault;
    if (!ParseForm(resource.bytes, fault)) {
        throw ScriptError(fault);
    }
}

constexpr ResourceRow lineWords[] = {
    {"form", "size WIDTH HEIGHT", "of its window; comes first", TakeForm},
    {"flags", "N N", "its two flags", TakeFormFlags},
    {"font", "N SIZE style N", "its font", TakeFormFont},
    {"page", "N", "the page of the objects that follow; 0: every page", TakeFormPage},
};
} // namespace

bool TakeFormLine(Words& words, ResourceBytes& resource) {
    if (const auto* row = TakeRow<ResourceRow>(lineWords, words)) {
        row->read(words, resource);
        return true;
    }
    for (const ObjectWord& object : objectWords) {
        if (words.TakeIf(object.word)) {
            TakeFormObject(object, words, resource);
            return true;
        }
    }
    return false;
}

void PrintFormHelp(std::ostream& out) {
    out << "\nLines of a form, which is a resource of the type FO4D with a name; the objects "
           "behind\n"
           "page 0 stand on every page:\n";
    PrintRows<ResourceRow>(out, 2, lineWords);
    for (const ObjectWord& object : objectWords) {
        out << "  " << object.word << " " << object.usage << "\n";
    }
    out << "      PLACE: LEFT TOP WIDTH HEIGHT [variable \"NAME\"] [disabled] [invisible] "
           "[locked]\n";
}
