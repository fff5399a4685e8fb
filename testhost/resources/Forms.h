#pragma once

#include "testhost/resources/Bytes.h"

// The lines of a resource text that make a form; testhost/screen/Form.h has its structure.

/// Takes a line that makes part of a form; false, with nothing taken, when the line is none.
bool TakeFormLine(Words& words, ResourceBytes& resource);

/// Explains these lines.
void PrintFormHelp(std::ostream& out);
