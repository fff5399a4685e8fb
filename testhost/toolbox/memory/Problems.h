#pragma once

#include "platform/Compiler.h"

#include <string>
#include <vector>

/// What the library found wrong in the way it is used, as whole sentences, oldest first.
class Problems {
  public:
    /// Records a sentence written as for printf.
    NIMBO_PRINTF_FORMAT(2, 3) void Add(const char* format, ...);
    void Clear() { sentences.clear(); }
    long Count() const { return static_cast<long>(sentences.size()); }
    /// Null when there is no such problem.
    const std::string* At(long index) const;

    /// Runs when a problem was recorded; null: nothing does.
    void (*onAdded)() = nullptr;

  private:
    void Keep(std::string sentence);

    std::vector<std::string> sentences;
};
