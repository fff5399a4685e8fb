#pragma once

#include "testhost/values/Whereabouts.h"

#include <functional>
#include <string>

/// An entry into a plug-in for as long as it lasts. It stands on the stack that it runs on; with a
/// process that is ended amid an entry it is simply gone.
class EntryUnderWay {
  public:
    /// What the plug-in makes in it bears the place.
    EntryUnderWay(std::string itsName, const std::string& itsPlace);
    ~EntryUnderWay();
    EntryUnderWay(const EntryUnderWay&) = delete;
    EntryUnderWay& operator=(const EntryUnderWay&) = delete;

    /// The one that runs; null outside all of them.
    static const EntryUnderWay* Innermost() { return innermost; }
    /// For the scheduler, which has each process find its own.
    static void SetInnermost(const EntryUnderWay* entry);

    const std::string name; ///< as in the log
    const Whereabouts place;
    const EntryUnderWay* const outer; ///< within which it was made; null when within none

    /// Runs whenever another one is the innermost; may be empty.
    static std::function<void(const EntryUnderWay*)> onChanged;

  private:
    static const EntryUnderWay* innermost;
};
