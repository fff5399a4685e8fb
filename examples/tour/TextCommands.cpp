#include "data/Base64.h"
#include "data/blocks/TextBlock.h"
#include "examples/tour/Tour.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"
#include "shell/base/TextServices.h"

#include <array>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <span>

namespace {

using Bytes = std::span<const unsigned char>;

Bytes BytesOf(Handle handle, long length) {
    if (handle == nullptr || length <= 0) {
        return {};
    }
    return {reinterpret_cast<const unsigned char*>(*handle), static_cast<std::size_t>(length)};
}

Bytes BytesOf(const TextBlock& text) {
    return BytesOf(text.text, text.length);
}

std::array<std::uint32_t, 256> checksumTable;

/// CRC-32 as in ZIP files and PNG pictures.
std::uint32_t ChecksumOf(Bytes bytes) {
    std::uint32_t checksum = 0xFFFFFFFF;
    for (const unsigned char byte : bytes) {
        checksum = checksum >> 8 ^ checksumTable[(checksum ^ byte) & 0xFF];
    }
    return ~checksum;
}

/// Calls `visit(letter, whether it begins a word)` for each letter of a Pascal string.
template <typename Visit>
void ForEachWord(unsigned char* string, Visit visit) {
    bool inWord = false;
    for (int i = 1; i <= string[0]; ++i) {
        const bool letter = std::isalnum(string[i]) != 0 || string[i] == '\'';
        if (letter) {
            visit(string[i], !inWord);
        }
        inWord = letter;
    }
}

unsigned char Upper(unsigned char letter) {
    return static_cast<unsigned char>(std::toupper(letter));
}

unsigned char Lower(unsigned char letter) {
    return static_cast<unsigned char>(std::tolower(letter));
}

/// Stores in `target` what `change` makes of the source's bytes; nothing when the result is longer
/// than a text can be, rather than a part of it.
template <typename Change>
void ChangeHandle(CTextBlock& source, CTextBlock& target, Change change) {
    Handle bytes = nullptr;
    source.CopyTo(&bytes);
    target.SetLength(0);
    if (bytes == nullptr) {
        return;
    }
    change(bytes);
    if (GetHandleSize(bytes) <= CTextBlock::MaxLength) {
        Tour::EmptyAfter(target.SetTo(bytes), target);
    }
    DisposeHandle(bytes);
}

} // namespace

namespace Tour {

void EmptyAfter(long error, CTextBlock& text) {
    if (error != 0) {
        text.SetLength(0);
    }
}

void CountWords(CXParam* params, CXResult* result) {
    long words = 0;
    bool inWord = false;
    for (const unsigned char byte : BytesOf(*params[0].GetTextBlockPtr())) {
        const bool space = std::isspace(byte) != 0;
        words += !space && !inWord ? 1 : 0;
        inWord = !space;
    }
    result->SetLong(words);
}

void UpperText(CXParam* params, CXResult* result) {
    CTextBlock* const text = result->GetCTextBlockPtr();
    params[1].SetBoolean(0);
    EmptyAfter(text->SetTo(params[0].GetCTextBlockPtr()), *text);
    for (short i = 1; i <= text->GetLength(); ++i) {
        const auto before = static_cast<unsigned char>(text->GetChar(i));
        const unsigned char after = Upper(before);
        if (after != before) {
            text->SetChar(i, static_cast<char>(after));
            params[1].SetBoolean(1);
        }
    }
}

void Base64EncodeText(CXParam* params, CXResult* result) {
    ChangeHandle(*params[0].GetCTextBlockPtr(), *result->GetCTextBlockPtr(), Base64EncodeHandle);
}

void Base64DecodeText(CXParam* params, CXResult* result) {
    ChangeHandle(*params[0].GetCTextBlockPtr(), *result->GetCTextBlockPtr(), Base64DecodeHandle);
}

void SetLineEndings(CXParam* params, CXResult* result) {
    struct Kind {
        const char* name;
        long kind;
    };
    static constexpr Kind Kinds[] = {
        {"CR", LineEnding::CR}, {"CRLF", LineEnding::CRLF}, {"LF", LineEnding::LF}};
    char name[256];
    _CopyP2CStr(params[1].GetStringPtr(), name);
    _UpperCStr(name);
    for (const Kind& row : Kinds) {
        if (std::strcmp(name, row.name) == 0) {
            ChangeHandle(*params[0].GetCTextBlockPtr(), *result->GetCTextBlockPtr(),
                         [&row](Handle text) { _SetHandleLineEndings(text, row.kind); });
            return;
        }
    }
    CTextBlock& text = *result->GetCTextBlockPtr(); // no such kind: as it is
    EmptyAfter(text.SetTo(params[0].GetCTextBlockPtr()), text);
}

void ReplaceInText(CXParam* params, CXResult* result) {
    CTextBlock* const text = params[0].GetCTextBlockPtr();
    result->SetLong(text->Replace(params[1].GetStringPtr(), params[2].GetCTextBlockPtr()));
}

void PrepareChecksums() {
    for (std::uint32_t byte = 0; byte < checksumTable.size(); ++byte) {
        std::uint32_t entry = byte;
        for (int bit = 0; bit < 8; ++bit) {
            entry = (entry & 1) != 0 ? entry >> 1 ^ 0xEDB88320 : entry >> 1;
        }
        checksumTable[byte] = entry;
    }
}

void Checksum(CXParam* params, CXResult* result) {
    result->SetLong(static_cast<long>(ChecksumOf(BytesOf(*params[0].GetTextBlockPtr()))));
}

void BlobChecksum(CXParam* params, CXResult* result) {
    Handle const blob = params[0].GetHandle();
    const Bytes bytes = BytesOf(blob, blob != nullptr ? GetHandleSize(blob) : 0);
    result->SetLong(static_cast<long>(ChecksumOf(bytes)));
}

void Initials(CXParam* params, CXResult* result) {
    Str255 name;
    params[0].GetString(name);
    Str255 initials = {};
    ForEachWord(name, [&initials](unsigned char letter, bool first) {
        if (first) {
            initials[++initials[0]] = Upper(letter);
        }
    });
    result->SetString(initials);
}

void ProperCase(CXParam* params, CXResult*) {
    ForEachWord(params[0].GetStringPtr(), [](unsigned char& letter, bool first) {
        letter = first ? Upper(letter) : Lower(letter);
    });
}

} // namespace Tour
