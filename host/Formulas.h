#pragma once

#include "data/ValueBlock.h"

// What the framework itself needs to have the host run a piece of its language.

/// Evaluates a host command without arguments, by its number, into a value that the caller frees
/// with FreeValueBlock. -50 when the host does not name the command, -108, or the host's result
/// code.
OSErr EvaluateCommand(short command, ValueBlock* value);
