#pragma once

/// The Mac Roman character set.
namespace MacRoman {

/// Upper case of a letter, its marks kept: á gives Á, œ gives Œ. Other characters as they are.
unsigned char ToUpper(unsigned char character);

/// The letter without its marks, its case kept: É gives E, ç gives c, ø gives o. Ligatures and
/// other characters as they are.
unsigned char WithoutMark(unsigned char character);

} // namespace MacRoman
