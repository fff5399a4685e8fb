#pragma once

#include <array>
#include <cstddef>

/// Entries in the order of their last use. They have the members `newer` and `older`, and `usedIn`,
/// the number of the call into the plug-in in which they were used last.
template <typename Entry>
class UseOrder {
  public:
    Entry* Newest() const { return newest; }

    void PutFirst(Entry& entry, unsigned long callNumber) {
        entry.usedIn = callNumber;
        if (newest == &entry) {
            return;
        }
        Remove(entry);
        entry.older = newest;
        (newest ? newest->newer : oldest) = &entry;
        newest = &entry;
    }

    /// Nothing for an entry that is not in here.
    void Remove(Entry& entry) {
        if (&entry != newest && !entry.newer) {
            return;
        }
        for (Entry*& next : turns) {
            next = next == &entry ? entry.older : next;
        }
        (entry.newer ? entry.newer->older : newest) = entry.older;
        (entry.older ? entry.older->newer : oldest) = entry.newer;
        entry.newer = entry.older = nullptr;
    }

    /// The entries in turn, one with each call, towards those used longest ago and then from the
    /// newest again; null when there are none. There are two turns, which go on by themselves.
    Entry* Next(std::size_t turn) {
        Entry* entry = turns[turn] ? turns[turn] : newest;
        turns[turn] = entry ? entry->older : nullptr;
        return entry;
    }

    void Clear() { *this = {}; }

  private:
    Entry* newest = nullptr;
    Entry* oldest = nullptr;
    std::array<Entry*, 2> turns{}; ///< whose turn is next; null: that of the newest
};
