#pragma once

#include "testhost/resources/Bytes.h"

#include <ostream>

/// Adds what one line says, one that begins no resource. Throws ScriptError when it is wrong.
void AddResourceLine(Words& words, ResourceBytes& resource);

/// Explains the lines of a resource text and the kinds of fields.
void PrintResourceHelp(std::ostream& out);
