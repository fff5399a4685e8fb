#pragma once

#include "platform/Types.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What an object of a form is. The numbers stand in forms.
enum class FormObjectKind : unsigned char {
    Label = 1,
    Field = 2,
    Button = 3,
    CheckBox = 4,
    ListBox = 5,
    Area = 6,
};

/// What a button does besides being hit. The numbers stand in forms.
enum class FormAction : unsigned char { None = 0, Validate = 1, Cancel = 2 };

/// An object of a form. Its names have no case.
struct FormObject {
    FormObjectKind kind = FormObjectKind::Label;
    unsigned char type = 0; ///< ValueType of its variable; 0 when it has none of a fixed type
    FormAction action = FormAction::None;
    bool enabled = true;
    bool visible = true;
    bool editable = true;
    short page = 0; ///< 0: on all pages
    Rect rect{};
    std::string name;
    std::string variable; ///< empty in a form: that of the same name
    std::string title;
};

/// A dialog's form, out of a resource of the type "FO4D".
///
/// That is a big-endian structure: the tag "FORM", the 32-bit length of what follows, the tag
/// "LAYO", then atoms: a tag, the 32-bit length of its data, the data, and a pad byte behind data
/// of an odd length. Numbers in atoms are big-endian, too; strings are Pascal strings.
///
///     FONT  font 16, size 16, four bytes, style index 16
///     FLAG  13 bytes, two 16-bit flags
///     SIZE  width 16, height 16 of the window
///     PAGE  page 16: of the objects that follow; 0 is every page
///     OBJT  kind 8, variable type 8, action 8, bits 8 (1 disabled, 2 invisible, 4 not editable),
///           rectangle 4 x 16, object name, variable name, title
///
/// Atoms of other tags are skipped.
struct Form {
    short width = 0;
    short height = 0;
    short pages = 1;
    short font = 0;
    short fontSize = 0;
    short style = -1;
    short flags[2] = {0, 0};
    std::vector<FormObject> objects;
};

/// The tags of a form's parts.
namespace FormTag {
inline constexpr std::string_view Form = "FORM";
inline constexpr std::string_view Layout = "LAYO";
inline constexpr std::string_view Font = "FONT";
inline constexpr std::string_view Flags = "FLAG";
inline constexpr std::string_view Size = "SIZE";
inline constexpr std::string_view Page = "PAGE";
inline constexpr std::string_view Object = "OBJT";
} // namespace FormTag

/// Bits of an object's fourth byte.
namespace FormBit {
enum : unsigned char { Disabled = 1, Invisible = 2, NotEditable = 4 };
} // namespace FormBit

/// Where the two flags stand in a FLAG atom.
inline constexpr size_t formFlagPlace = 13;

/// Reads a form; nothing, with what is wrong in `fault`, when it is malformed.
std::optional<Form> ParseForm(std::string_view bytes, std::string& fault);

/// The word for a kind of object: "field".
std::string_view FormObjectWord(FormObjectKind kind);
/// Whether objects of a kind may have a variable of this ValueType; 0 is none.
bool FormTypeFits(FormObjectKind kind, unsigned char type);
