#pragma once

#include "testhost/session/WordTable.h"

#include <cstddef>
#include <string>
#include <string_view>

/// The bytes of one resource, as the lines of a resource text build them.
class ResourceBytes {
  public:
    /// How a number is stored.
    struct Number {
        unsigned width = 2; ///< bytes
        bool bigEndian = false;
    };

    void Append(unsigned long number, Number form);
    /// Throws ScriptError where no resource file has room for so many.
    void AppendZeros(std::size_t count);
    /// The length byte, then the characters. Throws ScriptError when there are more than `most`.
    void AppendPascal(std::string_view text, std::size_t most = 255);
    /// The same in a field of `size` bytes.
    void AppendPascalField(std::string_view text, std::size_t size);

    /// Begins a list: puts the number of its items here, which is counted as they come. `itemWord`
    /// is what its lines begin with; those of another list may not stand in it.
    void BeginList(std::string_view itemWord, Number form);
    /// To be called for each item, before its bytes. Throws ScriptError when the list is missing.
    void CountItem(std::string_view itemWord);
    bool InList() const { return !listItem.empty(); }

    std::string bytes;

  private:
    std::string listItem; ///< empty: no list has begun
    std::size_t countPlace = 0;
    Number countForm;
    unsigned long items = 0;
};

/// A line of a resource text, or a field.
using ResourceRow = WordRow<void(Words& words, ResourceBytes& resource)>;
