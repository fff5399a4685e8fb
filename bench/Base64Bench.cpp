// Base64 in both directions: the library beside an implementation that goes byte by byte, each
// kernel beside memcpy of as many bytes as are written. 1 MB, and a short text, where the way into
// the coder counts.

#include "data/Base64.h"
#include "data/Base64Kernels.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Byte = unsigned char;

constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";

constexpr auto values = [] {
    std::array<Byte, 256> table{};
    table.fill(0xFF);
    for (Byte value = 0; value < 65; ++value) {
        table[static_cast<Byte>(alphabet[value])] = value;
    }
    return table;
}();

unsigned long EncodePlain(void* target, const void* source, unsigned long len) {
    auto* dst = static_cast<char*>(target);
    const auto* src = static_cast<const Byte*>(source);
    unsigned long count = 0;
    while (len > 0) {
        const unsigned b0 = src[0];
        const unsigned b1 = len > 1 ? src[1] : 0;
        const unsigned b2 = len > 2 ? src[2] : 0;
        dst[0] = alphabet[b0 >> 2];
        dst[1] = alphabet[(b0 & 3) << 4 | b1 >> 4];
        dst[2] = alphabet[len > 1 ? (b1 & 15) << 2 | b2 >> 6 : 64];
        dst[3] = alphabet[len > 2 ? b2 & 63 : 64];
        const unsigned long taken = len < 3 ? len : 3;
        src += taken;
        len -= taken;
        dst += 4;
        count += 4;
    }
    return count;
}

unsigned long DecodePlain(void* target, const void* source, unsigned long len) {
    auto* dst = static_cast<Byte*>(target);
    const auto* src = static_cast<const Byte*>(source);
    unsigned long count = 0;
    for (; len > 0; len -= 4, src += 4, dst += 3) {
        const Byte d0 = values[src[0]];
        const Byte d1 = values[src[1]];
        const Byte d2 = values[src[2]];
        const Byte d3 = values[src[3]];
        dst[0] = static_cast<Byte>(d0 << 2 | (d1 & 0x30) >> 4);
        dst[1] = static_cast<Byte>(d1 << 4 | (d2 & 0x3C) >> 2);
        dst[2] = static_cast<Byte>((d2 << 6) + (d3 & 0x3F));
        count += 3;
        if (d3 == 64) {
            count -= d2 == 64 ? 2 : 1;
        }
    }
    return count;
}

/// `size` bytes that follow no pattern.
std::vector<Byte> Noise(unsigned long size) {
    std::vector<Byte> bytes(size);
    unsigned long state = 1;
    for (Byte& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<Byte>(state >> 24);
    }
    return bytes;
}

/// Adds a row that makes `resultSize` bytes of `source`, and compares it with another row.
template <typename Code>
void AddRow(const std::string& name, const std::vector<Byte>& source, unsigned long resultSize,
            Code code, const std::string& versus = "") {
    const auto measure = [=](benchmark::State& state) {
        std::vector<Byte> target(resultSize);
        for (auto _ : state) {
            code(target.data(), source.data(), static_cast<unsigned long>(source.size()));
            benchmark::ClobberMemory();
        }
        state.SetBytesProcessed(static_cast<long long>(state.iterations() * source.size()));
        state.SetLabel(versus.empty() ? "" : "vs " + versus);
    };
    benchmark::RegisterBenchmark(name.c_str(), measure)->MinTime(0.1)->Repetitions(5);
}

void AddRows(const std::string& size, unsigned long length) {
    const auto copy = [](void* dst, const void* src, unsigned long len) {
        std::memcpy(dst, src, len);
    };
    const std::string encode = "Base64/encode/" + size + "/";
    const std::vector<Byte> bytes = Noise(length);
    const unsigned long encodedSize = Base64EncodeGetLength(length);
    AddRow(encode + "plain", bytes, encodedSize, EncodePlain);
    AddRow(encode + "library", bytes, encodedSize, Base64Encode, encode + "plain");
    for (const Base64Kernel& kernel : Base64Kernels()) {
        AddRow(encode + "kernel_" + kernel.name, bytes, encodedSize, kernel.encode,
               encode + "memcpy");
    }
    AddRow(encode + "memcpy", Noise(encodedSize), encodedSize, copy);

    const std::string decode = "Base64/decode/" + size + "/";
    const unsigned long decodedSize = Base64DecodeGetLength(length);
    std::vector<Byte> text(length);
    Base64Encode(text.data(), bytes.data(), decodedSize);
    AddRow(decode + "plain", text, decodedSize, DecodePlain);
    AddRow(decode + "library", text, decodedSize, Base64Decode, decode + "plain");
    for (const Base64Kernel& kernel : Base64Kernels()) {
        AddRow(decode + "kernel_" + kernel.name, text, decodedSize, kernel.decode,
               decode + "memcpy");
    }
    AddRow(decode + "memcpy", Noise(decodedSize), decodedSize, copy);
}

[[maybe_unused]] const bool added = (AddRows("1MB", 1UL << 20), AddRows("48_bytes", 48), true);

} // namespace
