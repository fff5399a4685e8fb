#pragma once

#include <string>
#include <vector>

/// What somebody noticed when no host could take notice of it: in a thread that is not the host's,
/// or outside all entries into plug-ins.
struct Aside {
    bool isProblem;
    std::string text; ///< a whole sentence, or what a plug-in told a debugger
};

/// Keeps it for the host that asks next. May be called by any thread.
void SetAside(Aside aside);
/// Those that were set aside since, oldest first; of too many only the first are there.
std::vector<Aside> TakeAsides();
