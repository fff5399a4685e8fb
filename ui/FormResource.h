#pragma once

#include "host/boundary/Styles.h"
#include "platform/Types.h"

// Form resources ("FO4D"). A form is the tag "FORM", a 32-bit length of all that follows, the tag
// "LAYO", and atoms: a 4-byte type, a 32-bit length, that many bytes and a pad byte when they are
// odd. All numbers are big-endian. A function for atoms gets the `type`, the `data` and their
// `length` in bytes.

/// Type of form resources.
inline constexpr unsigned long FormResourceType = 0x464F3444; // 'FO4D'
/// Lists of extended styles: the plug-in's style set n is its resource of this type and number n,
/// laid out as the host's style lists are (host/boundary/Styles.h).
inline constexpr unsigned long StyleSetType = 0x5354594C; // 'STYL'

/// Called for an atom with its type, data, length of the data and what the scan was given. The data
/// may be changed in place. Answers 0 to go on.
using FO4DAtomProc = long (*)(unsigned long type, char* data, long length, void* context);

/// Calls `callback` for the atoms of a `form`, with its `context`; the form is locked meanwhile, as
/// far as they lie whole within it. An atom without data at the very end is not visited. Nothing
/// for a null or malformed form.
void ScanFormAtoms(Handle form, FO4DAtomProc callback, void* context);

/// A style set of the plug-in as this platform has it, for one scan of a form. It is looked up, and
/// the host asked for its platform, with the first style that is wanted; then it is held until the
/// end of the scope and released: a handle to it that is held elsewhere is no longer valid then.
class FormStyles {
  public:
    /// Of the plug-in's style set `styleSet`.
    explicit FormStyles(short styleSet) : number(styleSet) {}
    ~FormStyles();
    FormStyles(const FormStyles&) = delete;
    FormStyles& operator=(const FormStyles&) = delete;

    /// Stores as `style` the one with the identifier `index`. False when there is no such style, or
    /// set.
    bool Find(short index, FourDPlatformStyle* style);

  private:
    short number;
    bool lookedUp = false;
    bool known = false; ///< the list and the platform
    Handle list = nullptr;
    long platform = 0;
};

/// Resolves the style index of a "FONT" atom by `styles` to font number and size on this platform,
/// and sets it to -1. Without such a style the atom's own font and size stay. Any other atom, and
/// one with a negative index, is left alone.
void PatchFontAtom(unsigned long type, char* data, long length, FormStyles* styles);

/// Reads the two values of a "FLAG" atom into `flag1` and `flag2`; any other atom leaves both as
/// they are.
void ReadFlagAtom(unsigned long type, const char* data, long length, short* flag1, short* flag2);
