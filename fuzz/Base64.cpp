// Base64 with each kernel that the processor runs, against a plain loop.

#include "data/Base64.h"

#include "data/Base64Kernels.h"
#include "data/blocks/Handles.h"
#include "fuzz/Harness.h"
#include "testhost/toolbox/Control.h"

namespace {
constexpr std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Blocks of their own, without a byte to spare.
using Bytes = std::vector<unsigned char>;

Bytes Encoded(const Bytes& bytes) {
    Bytes text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        unsigned bits = 0;
        for (std::size_t i = at; i < at + 3; ++i) {
            bits = bits << 8 | (i < bytes.size() ? bytes[i] : 0);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            const bool isThere = at + i <= bytes.size();
            text.push_back(isThere ? alphabet[bits >> (18 - 6 * i) & 63] : '=');
        }
    }
    return text;
}

unsigned ValueOf(unsigned char character) {
    const std::size_t value = alphabet.find(static_cast<char>(character));
    return value != std::string_view::npos ? value : character == '=' ? 0 : 63;
}

/// All groups, those with padding in full; `count` says how many bytes count.
Bytes Decoded(const Bytes& text, std::size_t* count) {
    Bytes bytes;
    std::size_t padding = 0;
    for (std::size_t at = 0; at + 4 <= text.size(); at += 4) {
        unsigned bits = 0;
        for (std::size_t i = at; i < at + 4; ++i) {
            bits = bits << 6 | ValueOf(text[i]);
        }
        for (const int shift : {16, 8, 0}) {
            bytes.push_back(static_cast<unsigned char>(bits >> shift));
        }
        if (text[at + 3] == '=') {
            padding += text[at + 2] == '=' ? 2 : 1;
        }
    }
    *count = bytes.size() - padding;
    return bytes;
}

/// What the whole handle becomes, unless there is no memory: then it stays as it is.
void CheckHandle(Input& input, const Bytes& before, void (*code)(Handle), const Bytes& after) {
    const TemporaryHandle handle(before.data(), static_cast<long>(before.size()));
    const unsigned failure = input.Choice(4);
    ToolboxFailAllocation(static_cast<long>(failure));
    code(handle.Get());
    const std::string now = BytesOf(handle.Get());
    Require(now == std::string(after.begin(), after.end()) ||
                (failure > 0 && now == std::string(before.begin(), before.end())),
            "the handle has other bytes");
    ToolboxFailAllocation(0);
}
} // namespace

void Fuzz(Input& input) {
    const unsigned times = 1 + input.Choice(8);
    const std::string some = input.Text(200);
    Bytes bytes;
    for (unsigned i = 0; i < times; ++i) {
        bytes.insert(bytes.end(), some.begin(), some.end());
    }
    bytes.shrink_to_fit();
    Bytes text = Encoded(bytes);
    for (const Base64Kernel& kernel : Base64Kernels()) {
        Bytes encoded(text.size());
        kernel.encode(encoded.data(), bytes.data(), bytes.size());
        Require(encoded == text, kernel.name);
    }
    CheckHandle(input, bytes, Base64EncodeHandle, text);

    while (!text.empty() && !input.IsOver()) {
        text[input.ConsumeIntegral<unsigned short>() % text.size()] =
            input.ConsumeIntegral<unsigned char>();
    }
    std::size_t count = 0;
    Bytes expected = Decoded(text, &count);
    for (const Base64Kernel& kernel : Base64Kernels()) {
        Bytes decoded(expected.size());
        Require(kernel.decode(decoded.data(), text.data(), text.size()) == count, kernel.name);
        Require(decoded == expected, kernel.name);
    }
    expected.resize(count);
    CheckHandle(input, text, Base64DecodeHandle, expected);
}
