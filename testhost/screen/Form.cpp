#include "testhost/screen/Form.h"

#include "host/boundary/Values.h"
#include "testhost/database/Tables.h"

#include <algorithm>
#include <stdexcept>

namespace {
class FormError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Bytes taken one after another, never beyond their end.
class FormReader {
  public:
    FormReader(std::string_view readBytes, std::string_view readWhat)
        : bytes(readBytes), what(readWhat) {}

    std::string_view Take(size_t count) {
        if (count > bytes.size()) {
            throw FormError(std::string(what) + " is too short");
        }
        const std::string_view taken = bytes.substr(0, count);
        bytes.remove_prefix(count);
        return taken;
    }
    unsigned long Number(size_t width) {
        unsigned long number = 0;
        for (const char byte : Take(width)) {
            number = number << 8 | static_cast<unsigned char>(byte);
        }
        return number;
    }
    short Short() { return static_cast<short>(Number(2)); }
    unsigned char Byte() { return static_cast<unsigned char>(Number(1)); }
    std::string Pascal() { return std::string(Take(Byte())); }
    size_t Left() const { return bytes.size(); }

  private:
    std::string_view bytes;
    std::string_view what;
};

template <typename Enum>
Enum TakeEnum(FormReader& reader, Enum lowest, Enum highest, const char* what) {
    const unsigned char number = reader.Byte();
    if (number < static_cast<unsigned char>(lowest) ||
        number > static_cast<unsigned char>(highest)) {
        throw FormError("an object has the unknown " + std::string(what) + " " +
                        std::to_string(number));
    }
    return static_cast<Enum>(number);
}

FormObject TakeObject(FormReader& reader, short page) {
    FormObject object;
    object.page = page;
    object.kind = TakeEnum(reader, FormObjectKind::Label, FormObjectKind::Area, "kind");
    object.type = reader.Byte();
    object.action = TakeEnum(reader, FormAction::None, FormAction::Cancel, "action");
    const unsigned char bits = reader.Byte();
    object.enabled = (bits & FormBit::Disabled) == 0;
    object.visible = (bits & FormBit::Invisible) == 0;
    object.editable = (bits & FormBit::NotEditable) == 0;
    for (short* side :
         {&object.rect.top, &object.rect.left, &object.rect.bottom, &object.rect.right}) {
        *side = reader.Short();
    }
    object.name = reader.Pascal();
    object.variable = reader.Pascal();
    object.title = reader.Pascal();
    if (reader.Left() != 0) {
        throw FormError("an object goes on behind its title");
    }
    if (object.name.empty() || !FormTypeFits(object.kind, object.type)) {
        throw FormError("an object has no name, or a variable of a type that it cannot have");
    }
    if (object.variable.empty()) {
        object.variable = object.name;
    }
    return object;
}

void AddObject(Form& form, FormObject object) {
    if (std::ranges::any_of(form.objects, [&](const FormObject& other) {
            return SameText(other.name, object.name);
        })) {
        throw FormError("two objects have the same name");
    }
    form.objects.push_back(std::move(object));
}

void TakeAtom(std::string_view tag, FormReader reader, Form& form, short& page) {
    if (tag == FormTag::Font) {
        form.font = reader.Short();
        form.fontSize = reader.Short();
        reader.Take(4);
        form.style = reader.Short();
    } else if (tag == FormTag::Flags) {
        reader.Take(formFlagPlace);
        form.flags[0] = reader.Short();
        form.flags[1] = reader.Short();
    } else if (tag == FormTag::Size) {
        form.width = reader.Short();
        form.height = reader.Short();
    } else if (tag == FormTag::Page) {
        page = reader.Short();
        if (page < 0) {
            throw FormError("a page has a negative number");
        }
        form.pages = std::max(form.pages, page);
    } else if (tag == FormTag::Object) {
        AddObject(form, TakeObject(reader, page));
    }
}

Form TakeForm(std::string_view bytes) {
    FormReader reader(bytes, "the form");
    if (reader.Take(4) != FormTag::Form) {
        throw FormError("the form does not begin with its tag");
    }
    const unsigned long length = reader.Number(4);
    FormReader body(reader.Take(length), "the form's layout");
    if (body.Take(4) != FormTag::Layout) {
        throw FormError("the form's layout does not begin with its tag");
    }
    Form form;
    short page = 0;
    while (body.Left() > 0) {
        const std::string_view tag = body.Take(4);
        const unsigned long size = body.Number(4);
        TakeAtom(tag, FormReader(body.Take(size), "an atom"), form, page);
        if (body.Left() > 0) {
            body.Take(size & 1);
        }
    }
    return form;
}
} // namespace

std::optional<Form> ParseForm(std::string_view bytes, std::string& fault) {
    try {
        return TakeForm(bytes);
    } catch (const FormError& error) {
        fault = error.what();
        return std::nullopt;
    }
}

std::string_view FormObjectWord(FormObjectKind kind) {
    constexpr std::string_view words[] = {"",         "label", "field", "button",
                                          "checkbox", "list",  "area"};
    return words[static_cast<unsigned char>(kind)];
}

bool FormTypeFits(FormObjectKind kind, unsigned char type) {
    switch (kind) {
    case FormObjectKind::Field:
        return type == ValueType::String || type == ValueType::Text || type == ValueType::Long ||
               type == ValueType::Real || type == ValueType::Date || type == ValueType::Time ||
               type == ValueType::Boolean || type == ValueType::Picture;
    case FormObjectKind::Button:
    case FormObjectKind::CheckBox:
        return type == ValueType::Long || type == ValueType::Boolean;
    case FormObjectKind::Label:
    case FormObjectKind::ListBox:
    case FormObjectKind::Area:
        break;
    }
    return type == 0;
}
