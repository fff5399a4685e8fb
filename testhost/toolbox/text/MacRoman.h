#pragma once

/// The Mac Roman character set.
///
/// Windows' set is 1252. The two share ASCII, and 103 of the other characters; the 25 that either
/// has alone are assigned to each other in the order of their codes, so that every character
/// becomes one of its own, and converting there and back changes nothing.
namespace MacRoman {

/// Upper case of a letter, its marks kept: á gives Á, œ gives Œ. Other characters as they are.
unsigned char ToUpper(unsigned char character);

/// The letter without its marks, its case kept: É gives E, ç gives c, ø gives o. Ligatures and
/// other characters as they are.
unsigned char WithoutMark(unsigned char character);

/// The same character in Windows' set, and the reverse.
unsigned char ToWindows(unsigned char character);
unsigned char FromWindows(unsigned char character);

} // namespace MacRoman
