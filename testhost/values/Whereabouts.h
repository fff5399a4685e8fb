#pragma once

#include <memory>
#include <string>

/// Where the plug-in is at work, as a person would say it: the script's line, and the call into the
/// plug-in that is under way. Null outside all of them. What is made keeps it.
using Whereabouts = std::shared_ptr<const std::string>;

/// The one at this moment.
const Whereabouts& CurrentWhereabouts();
/// Changes it, in the toolbox, too.
void SetWhereabouts(Whereabouts place);
/// The same as the end of a statement: ", under TEXT", or nothing.
std::string Under(const Whereabouts& place);
