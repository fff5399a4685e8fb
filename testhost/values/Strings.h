#pragma once

#include "host/boundary/Values.h"
#include "testhost/values/LeftOvers.h"
#include "testhost/values/Owner.h"
#include "testhost/values/Reporter.h"
#include "testhost/values/Whereabouts.h"

#include <deque>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The UTF-16 units of ANSI text, without a terminator; and the ANSI text of all those units.
std::vector<unsigned short> UnitsOfText(std::string_view text);
std::string TextOfUnits(std::span<const unsigned short> units);

/// The host's strings: the blocks that cross the boundary, and the units behind them, which have
/// no terminator but guards around them. A block is good only as the host filled it last: one that
/// was changed, disposed of, or copied before the string was set anew is reported (and the call
/// answers -50), as are units that the plug-in wrote over. A block of 16 zero bytes is an empty
/// string that nobody need release.
class HostStrings {
  public:
    explicit HostStrings(Reporter problemReporter) : report(std::move(problemReporter)) {}
    HostStrings(const HostStrings&) = delete;
    HostStrings& operator=(const HostStrings&) = delete;

    /// A new string. The plug-in's are counted by Live() until they are disposed of or adopted.
    FDStringBlock Create(std::span<const unsigned short> units, Owner owner = Owner::Plugin);
    FDStringBlock Create(std::string_view text, Owner owner = Owner::Plugin);
    /// Changes a string and updates the block; a zero block becomes a new string of the plug-in's.
    short Set(FDStringBlock& block, std::span<const unsigned short> units);
    /// Releases a string and zeroes the block. A plug-in may release its own only.
    short Dispose(FDStringBlock& block, Owner by = Owner::Host);
    /// Hands a string over: to a variable of the host that keeps the block from now on, or to the
    /// plug-in, which then has to release it.
    short SetOwner(const FDStringBlock& block, Owner owner);

    /// Whether the block is that of a living string, exactly as the host filled it. Reports
    /// nothing.
    bool IsLive(const FDStringBlock& block) const;
    /// What the string holds; nothing for a zero block, and for a bad one, which is reported.
    std::vector<unsigned short> Units(const FDStringBlock& block);
    std::string Text(const FDStringBlock& block) { return TextOfUnits(Units(block)); }

    /// How many strings the plug-in, how many the host has to release.
    long Live() const { return Count(Owner::Plugin); }
    long LiveOfHost() const { return Count(Owner::Host) + Count(Owner::Element); }
    /// Adds those that the plug-in has to release.
    void AddLeftOvers(LeftOvers& leftOvers) const;
    /// Those become the host's.
    void TakeOver();
    /// Reports every string, living or lately released, whose units were written over.
    void Check();

  private:
    struct String {
        FDStringBlock block; ///< as the plug-in has it
        std::vector<unsigned short> memory;
        std::vector<unsigned short> expected; ///< what the memory has to hold
        Owner owner;
        Whereabouts made;
    };

    long Count(Owner owner) const;
    String* Find(const FDStringBlock& block);
    static std::vector<unsigned short> UnitsOf(const String& string);
    void Fill(String& string, std::span<const unsigned short> units);
    void CheckMemory(String& string);
    void Release(std::vector<unsigned short>&& memory);
    void CheckReleased(const std::vector<unsigned short>& memory);

    Reporter report;
    std::map<unsigned long, String> strings;          ///< by their number, hostPrivate[0]
    std::deque<std::vector<unsigned short>> released; ///< the last ones, overwritten
    std::map<unsigned long, Whereabouts>
        disposed; ///< where; by the number, the last 10,000 numbers
};
