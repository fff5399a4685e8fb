#pragma once

#include "testhost/recordings/Contents.h"

#include <memory>

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

  private:
    class Builder;
    std::map<std::uint32_t, std::vector<unsigned char>> blocks; ///< by the recording's address
};
