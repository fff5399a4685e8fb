#pragma once

#include "recording/Format.h"

/// What the host is to call instead of a function that the plug-in hands it: it records the call
/// and goes on to the function. The same one for the same function; null when all are in use.
const void* ThunkFor(Recording::Way way, const void* function);
