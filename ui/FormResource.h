#pragma once

#include "platform/Types.h"

// Form resources ("FO4D"). A form is the tag "FORM", a 32-bit length of all that follows, the tag
// "LAYO", and atoms: a 4-byte type, a 32-bit length, that many bytes and a pad byte when they are
// odd. All numbers are big-endian.

inline constexpr unsigned long FormResourceType = 0x464F3444; // 'FO4D'
/// Lists of extended styles: the plug-in's style set n is its resource of this type and number n,
/// laid out as the host's style lists are (host/Styles.h).
inline constexpr unsigned long StyleSetType = 0x5354594C; // 'STYL'

/// Called for an atom with its type, data, length of the data and what the scan was given. The data
/// may be changed in place. Answers 0 to go on.
using FO4DAtomProc = long (*)(unsigned long type, char* data, long length, void* context);

/// Calls `callback` for the atoms of a form, which is locked meanwhile, as far as they lie whole
/// within it. An atom without data at the very end is not visited. Nothing for a null or malformed
/// form.
void ScanFormAtoms(Handle form, FO4DAtomProc callback, void* context);

/// Resolves the style index of a "FONT" atom with a style set of the plug-in to font number and
/// size on this platform, and sets it to -1. Where the set has no such style the atom's own font
/// and size stay. Any other atom, and one with a negative index, is left alone.
void PatchFontAtom(unsigned long type, char* data, long length, short styleSet);

/// Reads the two values of a "FLAG" atom; any other atom leaves both as they are.
void ReadFlagAtom(unsigned long type, const char* data, long length, short* flag1, short* flag2);
