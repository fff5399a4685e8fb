#pragma once

#include "testhost/recordings/Contents.h"

#include <memory>
#include <set>
#include <string>

/// What was handed over in a recording, put together again in this process: memory, handles of the
/// toolbox and of the host, words. Nothing in it leads outside of what is there: an address that
/// the recording does not explain becomes null.
class Stock {
  public:
    Stock();
    ~Stock();
    Stock(const Stock&) = delete;
    Stock& operator=(const Stock&) = delete;

    AddressBook book;
    /// Whether what is put together goes to a plug-in: a token that it has not handed over is 0,
    /// for it might follow the address. Else such a token is itself.
    bool isForPlugin = false;

    /// What the other side had sent in the call that is now answered, in the recording and here.
    struct Former {
        const CrossingContents& recorded;
        const CrossingContents& here;
    };

    /// The root with addresses of this process. Memory keeps its place for as long as this lives,
    /// under the recording's address; that which came in `former` is written where it is here.
    /// `codeStandIn` stands for functions that nobody has learnt of; 0: null.
    std::vector<unsigned char> Rebuild(const Recording::Crossing& crossing,
                                       const Recording::Surroundings& surroundings,
                                       const CrossingContents& recorded,
                                       const Former* former = nullptr,
                                       std::uint32_t codeStandIn = 0);

    /// What of the memory that was put together since the last time was written beyond its ends, as
    /// sentences; it is whole again then.
    std::vector<std::string> TakeGuardProblems();

  private:
    class Builder;
    /// Memory between guard bytes.
    struct Guarded {
        std::vector<unsigned char> bytes;
        size_t size = 0;
    };
    std::span<unsigned char> Block(std::uint32_t recorded, Recording::Form form, size_t size);

    /// By the recording's address and the form: what stood on a stack gives way to other things.
    std::map<std::pair<std::uint32_t, std::uint8_t>, Guarded> blocks;
    std::vector<std::vector<unsigned char>> outgrown;
    std::set<Guarded*> lent; ///< since their guards were looked at
};
