#pragma once

#include "testhost/plugins/Session.h"

/// Calls an entry point with four words on a stack that lies `offset` bytes above a multiple
/// of 16 (4, 8 or 12 where compilers expect 0), as the real host's stack does.
/// Answers how many bytes of its arguments the entry point left on the stack: 0 for a correct one.
extern "C" __attribute__((__cdecl__)) long CallMisaligned(PluginEntry entry, void* const words[4],
                                                          unsigned long offset);
