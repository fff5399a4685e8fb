#pragma once

#include <memory>
#include <string>

/// Where the plug-in is at work, as a person would say it: the script's line, and the call into the
/// plug-in that is under way. Null outside all of them. What is made keeps it.
using Whereabouts = std::shared_ptr<const std::string>;

/// The one at this moment.
const Whereabouts& CurrentWhereabouts();
/// Changes it, in the toolbox, too, and answers the former one.
Whereabouts SetWhereabouts(Whereabouts place);
/// The same as the end of a statement: ", under TEXT", or nothing.
std::string Under(const Whereabouts& place);

/// Makes a place the current one, and puts the former one back at the end.
class AtWhereabouts {
  public:
    explicit AtWhereabouts(std::string text)
        : former(SetWhereabouts(std::make_shared<const std::string>(std::move(text)))) {}
    ~AtWhereabouts() { SetWhereabouts(std::move(former)); }
    AtWhereabouts(const AtWhereabouts&) = delete;
    AtWhereabouts& operator=(const AtWhereabouts&) = delete;

  private:
    Whereabouts former;
};
