#pragma once

// The host and the toolbox keep the stack aligned to 4 bytes only, while this compiler's code
// expects 16. Every function that the host calls realigns it on entry, so that nothing further
// in has to think about it.
#define NIMBO_REALIGN __attribute__((force_align_arg_pointer))

// The conventions are written with underscores: <windows.h> makes a macro of plain `cdecl`, and the
// same declaration would then be another type after it.

/// Function called by the host through a pointer we hand it (cdecl), and the host's own
/// call-backs. Write it before the function's name.
#define HOST_CALL NIMBO_REALIGN __attribute__((__cdecl__))

/// Entry point exported to the host: the called function removes the arguments.
#define HOST_ENTRY NIMBO_REALIGN __attribute__((__stdcall__))

/// Function imported from the toolbox library (cdecl).
#define TOOLBOX_CALL __attribute__((__cdecl__))
