#include "testhost/resources/Bytes.h"

#include "testhost/toolbox/resources/Fork.h"

namespace {
constexpr unsigned long mostItems = 0x7FFF; // counts are signed 16-bit numbers
} // namespace

void ResourceBytes::Append(unsigned long number, Number form) {
    for (unsigned i = 0; i < form.width; ++i) {
        const unsigned shift = 8 * (form.bigEndian ? form.width - 1 - i : i);
        bytes += static_cast<char>(number >> shift & 0xFF);
    }
}

void ResourceBytes::AppendZeros(size_t count) {
    if (bytes.size() + count > longestForkData) {
        throw ScriptError("the resource is too long for a resource file");
    }
    bytes.append(count, '\0');
}

void ResourceBytes::AppendPascal(std::string_view text, size_t most) {
    if (text.size() > most) {
        throw ScriptError("at most " + std::to_string(most) + " bytes fit here, the string has " +
                          std::to_string(text.size()));
    }
    bytes += static_cast<char>(text.size());
    bytes += text;
}

void ResourceBytes::AppendPascalField(std::string_view text, size_t size) {
    AppendPascal(text, size - 1);
    AppendZeros(size - 1 - text.size());
}

void ResourceBytes::BeginList(std::string_view itemWord, Number form) {
    listItem = itemWord;
    countPlace = bytes.size();
    countForm = form;
    items = 0;
    Append(items, form);
}

void ResourceBytes::CountItem(std::string_view itemWord) {
    if (listItem != itemWord) {
        throw ScriptError(listItem.empty()
                              ? "no list has begun in this resource"
                              : "the list that has begun is one of " + listItem + " lines");
    }
    if (items == mostItems) {
        throw ScriptError("a list has at most " + std::to_string(mostItems) + " items");
    }
    ResourceBytes number;
    number.Append(++items, countForm);
    bytes.replace(countPlace, countForm.width, number.bytes);
}
