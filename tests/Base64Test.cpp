#include "data/Base64.h"

#include "data/Base64Kernels.h"
#include "platform/Toolbox.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <utility>

#include <windows.h>

namespace {

using std::string;

constexpr char untouched = '#';
const string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";

/// What a call returned, and what it wrote.
using Coded = std::pair<unsigned long, string>;

/// The rules as they are stated, one group after the other.
string ReferenceEncode(const string& source) {
    string result;
    for (std::size_t at = 0; at < source.size(); at += 3) {
        const std::size_t left = source.size() - at;
        const auto byte = [&](std::size_t index) {
            return index < left ? static_cast<unsigned char>(source[at + index]) : 0U;
        };
        result += alphabet[byte(0) >> 2];
        result += alphabet[(byte(0) & 3) << 4 | byte(1) >> 4];
        result += alphabet[left < 2 ? 64 : (byte(1) & 15) << 2 | byte(2) >> 6];
        result += alphabet[left < 3 ? 64 : byte(2) & 63];
    }
    return result;
}

Coded ReferenceDecode(const string& source) {
    Coded result;
    auto& [count, bytes] = result;
    for (std::size_t at = 0; at < source.size(); at += 4) {
        const auto value = [&](std::size_t index) {
            const std::size_t found = alphabet.find(source[at + index]);
            return found == string::npos ? 0xFF : static_cast<unsigned>(found);
        };
        bytes += static_cast<char>(value(0) << 2 | (value(1) & 0x30) >> 4);
        bytes += static_cast<char>(value(1) << 4 | (value(2) & 0x3C) >> 2);
        bytes += static_cast<char>((value(2) << 6) + (value(3) & 0x3F));
        count += value(3) != 64 ? 3 : value(2) != 64 ? 2 : 1;
    }
    return result;
}

constexpr std::size_t pageSize = 4096;

/// A page between two that fault when they are touched. It stays for the whole run.
char* GuardedPage() {
    void* const pages = VirtualAlloc(nullptr, 3 * pageSize, MEM_RESERVE, PAGE_NOACCESS);
    char* const page = static_cast<char*>(pages) + pageSize;
    VirtualAlloc(page, pageSize, MEM_COMMIT, PAGE_READWRITE);
    std::memset(page, untouched, pageSize);
    return page;
}

/// Runs a coder with source and target at the beginning, and then at the end of their pages, so
/// that a byte too far on either side faults or shows. `code(dst, src, len)` returns the count.
template <typename Code>
Coded CodeGuarded(const string& source, std::size_t resultSize, Code code) {
    static char* const from = GuardedPage();
    static char* const to = GuardedPage();
    const auto run = [&](char* src, char* dst) {
        source.copy(src, source.size());
        const unsigned long count =
            code(reinterpret_cast<unsigned char*>(dst), reinterpret_cast<unsigned char*>(src),
                 static_cast<unsigned long>(source.size()));
        Coded result(count, string(dst, resultSize));
        std::memset(dst, untouched, resultSize);
        EXPECT_EQ(std::count(to, to + pageSize, untouched), pageSize);
        return result;
    };
    Coded result = run(from, to);
    EXPECT_EQ(run(from + pageSize - source.size(), to + pageSize - resultSize), result);
    return result;
}

string Noise(std::size_t size) {
    static std::mt19937 random{1};
    string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

class Base64KernelTest : public testing::TestWithParam<Base64Kernel> {
  protected:
    static void CheckEncode(const string& source) {
        const auto encode = [](auto... arguments) {
            GetParam().encode(arguments...);
            return 0UL;
        };
        const string expected = ReferenceEncode(source);
        ASSERT_EQ(CodeGuarded(source, expected.size(), encode).second, expected);
    }
    static void CheckDecode(const string& source) {
        const Coded expected = ReferenceDecode(source);
        ASSERT_EQ(CodeGuarded(source, expected.second.size(), GetParam().decode), expected);
    }
};

TEST_P(Base64KernelTest, CodesEveryLength) {
    for (std::size_t size = 0; size <= 200; ++size) {
        for (int round = 0; round < 20; ++round) {
            const string source = Noise(size);
            ASSERT_NO_FATAL_FAILURE(CheckEncode(source));
            ASSERT_NO_FATAL_FAILURE(CheckDecode(ReferenceEncode(source)));
            ASSERT_NO_FATAL_FAILURE(CheckDecode(source.substr(0, size & ~3U)));
        }
    }
}

TEST_P(Base64KernelTest, DecodesAnyCharacterAnywhere) {
    string text = ReferenceEncode(Noise(84));
    for (std::size_t at = 0; at < text.size(); ++at) {
        for (int character = 0; character < 256; ++character) {
            const char before = std::exchange(text[at], static_cast<char>(character));
            ASSERT_NO_FATAL_FAILURE(CheckDecode(text)) << character << " at " << at;
            // Together with padding: "==" counts 2 off at the end of a group only, but of any.
            const std::size_t next = (at + 1) % text.size();
            const char after = std::exchange(text[next], '=');
            ASSERT_NO_FATAL_FAILURE(CheckDecode(text)) << character << " and = at " << at;
            text[next] = after;
            text[at] = before;
        }
    }
}

/// Whether the upper half of any vector register holds something else than zeros.
bool UpperHalvesAreFilled() {
    if (!__builtin_cpu_supports("avx")) {
        return false;
    }
    std::array<char, 128> halves{};
    asm volatile("vextractf128 $1, %%ymm0, (%0); vextractf128 $1, %%ymm1, 16(%0);"
                 "vextractf128 $1, %%ymm2, 32(%0); vextractf128 $1, %%ymm3, 48(%0);"
                 "vextractf128 $1, %%ymm4, 64(%0); vextractf128 $1, %%ymm5, 80(%0);"
                 "vextractf128 $1, %%ymm6, 96(%0); vextractf128 $1, %%ymm7, 112(%0)"
                 :
                 : "r"(halves.data())
                 : "memory");
    return halves != decltype(halves){};
}

// Else every SSE instruction of the host would be several times slower from then on.
TEST_P(Base64KernelTest, LeavesUpperHalvesOfRegistersEmpty) {
    string target(200, untouched);
    const string strange(100, '*');
    const string text = ReferenceEncode(Noise(75));
    auto* const dst = reinterpret_cast<unsigned char*>(target.data());
    for (const string& source : {text, strange}) {
        const auto* const src = reinterpret_cast<const unsigned char*>(source.data());
        for (const unsigned long size : {48UL, 100UL}) {
            GetParam().encode(dst, src, size);
            EXPECT_FALSE(UpperHalvesAreFilled()) << size;
            GetParam().decode(dst, src, size);
            EXPECT_FALSE(UpperHalvesAreFilled()) << size;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Each, Base64KernelTest, testing::ValuesIn(Base64Kernels()),
                         [](const auto& kernel) { return kernel.param.name; });

TEST(Base64, KnownTexts) {
    const std::pair<string, string> cases[] = {{"M", "TQ=="},
                                               {"Ma", "TWE="},
                                               {"Man", "TWFu"},
                                               {{"\x00\x10\x83\xFB\xFF\xBF", 6}, "ABCD+/+/"}};
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(Base64EncodeGetLength(bytes.size()), text.size());
        EXPECT_EQ(CodeGuarded(bytes, text.size(), Base64Encode), Coded(text.size(), text));
        const auto [count, decoded] =
            CodeGuarded(text, Base64DecodeGetLength(text.size()), Base64Decode);
        EXPECT_EQ(decoded.substr(0, count), bytes);
    }
}

TEST(Base64, RefusesNullPointersAndOddLengths) {
    for (const unsigned long length : {0UL, 1UL, 6UL, 7UL, 33UL, 66UL}) {
        EXPECT_EQ(Base64DecodeGetLength(length), 0U);
        EXPECT_EQ(CodeGuarded(string(length, 'A'), 60, Base64Decode),
                  Coded(0, string(60, untouched)));
    }
    for (const auto& code : {Base64Encode, Base64Decode}) {
        string bytes(8, untouched);
        EXPECT_EQ(code(nullptr, bytes.data(), 4), 0U);
        EXPECT_EQ(code(bytes.data(), nullptr, 4), 0U);
        EXPECT_EQ(bytes, string(8, untouched));
    }
}

class Base64HandleTest : public testing::Test {
  protected:
    Base64HandleTest() { ToolboxSetStrict(1); }
    ~Base64HandleTest() override {
        DisposeHandle(handle);
        EXPECT_EQ(ToolboxLiveHandles(), 0);
        EXPECT_EQ(ToolboxCheckAll() + ToolboxProblemCount(), 0);
        ToolboxReset();
    }
    void Set(const string& contents) {
        SetHandleSize(handle, static_cast<Size>(contents.size()));
        std::memcpy(*handle, contents.data(), contents.size());
    }
    string Contents() const { return {*handle, static_cast<std::size_t>(GetHandleSize(handle))}; }

    Handle handle = NewHandle(0);
};

TEST_F(Base64HandleTest, ReplacesTheContents) {
    const string source = Noise(1000);
    Set(source);
    Base64EncodeHandle(handle);
    EXPECT_EQ(Contents(), ReferenceEncode(source));
    Base64DecodeHandle(handle);
    EXPECT_EQ(Contents(), source);

    Set("TWFuTQ=");
    Base64DecodeHandle(handle);
    EXPECT_EQ(Contents(), "") << "a length that is not a multiple of 4";
    Base64EncodeHandle(handle);
    Base64DecodeHandle(handle);
    EXPECT_EQ(Contents(), "");
    Base64EncodeHandle(nullptr);
    Base64DecodeHandle(nullptr);
}

TEST_F(Base64HandleTest, KeepsTheContentsWithoutMemory) {
    const string source = Noise(1000);
    Set(source);
    for (const long refused : {1, 2}) { // the scratch handle, then the handle's own growth
        ToolboxFailAllocation(refused);
        Base64EncodeHandle(handle);
        EXPECT_EQ(Contents(), source);
    }
    ToolboxFailAllocation(1);
    Base64DecodeHandle(handle);
    EXPECT_EQ(Contents(), source);
}

} // namespace
