#pragma once

#include "host/boundary/Calls.h"
#include "recording/Format.h"

#include <cstdint>

/// The functions of the plug-in's that a call hands to the host, for as long as the call lasts: in
/// their place stand others, which record. Afterwards the record is as the plug-in made it, but for
/// what the host wrote.
class HandedCode {
  public:
    /// @family Of a call with the classic, with the engine record.
    HandedCode(long selector, ParameterBlock& record);
    HandedCode(long selector, FDEngineBlock& record);
    ~HandedCode();
    HandedCode(const HandedCode&) = delete;
    HandedCode& operator=(const HandedCode&) = delete;

  private:
    void Exchange(Recording::Way way, void* field);

    struct Exchanged {
        unsigned char* field = nullptr; ///< not aligned
        std::uint32_t function = 0;
        std::uint32_t thunk = 0;
    };
    Exchanged exchanged[2];
    int count = 0;
};
