#pragma once

// The host and the toolbox keep the stack aligned to 4 bytes only, while this compiler's code
// expects 16. Every function that the host calls realigns it on entry, so that nothing further
// in has to think about it.
#define NIMBO_REALIGN __attribute__((force_align_arg_pointer))

/// Function called by the host through a pointer we hand it (cdecl), and the host's own
/// call-backs. Write it before the function's name.
#define HOST_CALL NIMBO_REALIGN __attribute__((cdecl))

/// Entry point exported to the host: the called function removes the arguments.
#define HOST_ENTRY NIMBO_REALIGN __attribute__((stdcall))

/// Function imported from the toolbox library (cdecl).
#define TOOLBOX_CALL __attribute__((cdecl))
