#include "data/blocks/TextBlock.h"

#include "data/blocks/Handles.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

/// Length of a zero-terminated text as all lengths are kept here: in 16 bits, so that a very long
/// text may measure negative. Deliberate; SetLength leaves such a text out.
short Measure(const char* text) {
    return static_cast<short>(text != nullptr ? std::strlen(text) : 0);
}

short Clamp(long length) {
    return static_cast<short>(std::min<long>(length, CTextBlock::MaxLength));
}

const char* Characters(const unsigned char* string) {
    return reinterpret_cast<const char*>(string + 1);
}

} // namespace

CTextBlock::CTextBlock(CTextBlock* other) {
    SetLength(static_cast<short>(other->Stored()));
    Fill(other->fHandle, nullptr, 0, fSize);
}

CTextBlock::CTextBlock(const unsigned char (&string)[256])
    : CTextBlock(Characters(string), string[0]) {}

CTextBlock::CTextBlock(const char* text) : CTextBlock(text, Measure(text)) {}

CTextBlock::CTextBlock(const char* bytes, short length) {
    SetLength(bytes != nullptr ? length : short{0});
    Fill(nullptr, bytes, 0, fSize);
}

CTextBlock::CTextBlock(char** handle) {
    SetLength(static_cast<short>(SizeIfThere(handle)));
    Fill(handle, nullptr, 0, fSize);
}

long CTextBlock::Stored() const {
    return std::clamp<long>(fSize, 0, SizeIfThere(fHandle));
}

/// Copies `length` bytes to the 0-based `position`. Does nothing where a failed allocation has
/// left no room.
void CTextBlock::Fill(Handle source, const char* bytes, long position, long length) {
    if (length < 1 || position < 0 || SizeIfThere(fHandle) < position + length) {
        return;
    }
    const char* const from = source != nullptr ? *source : bytes;
    if (from != nullptr) {
        BlockMove(from, *fHandle + position, length);
    }
}

long CTextBlock::SetLength(short length) {
    if (length < 0) {
        return ResultCode::NoError;
    }
    // Deliberate: the new length stands even if its memory cannot be had; callers check the
    // result before they touch the bytes.
    fSize = Clamp(length);
    if (fSize < 1) {
        if (fHandle != nullptr) {
            DisposeHandle(fHandle);
        }
        fHandle = nullptr;
        return ResultCode::NoError;
    }
    if (fHandle == nullptr) {
        fHandle = NewHandle(fSize);
    } else {
        SetHandleSize(fHandle, fSize);
    }
    return MemError();
}

char CTextBlock::GetChar(short position) const {
    return position >= 1 && position <= Stored() ? (*fHandle)[position - 1] : '\0';
}

void CTextBlock::SetChar(short position, char byte) {
    if (position >= 1 && position <= Stored()) {
        (*fHandle)[position - 1] = byte;
    }
}

long CTextBlock::SetFrom(Handle source, const char* bytes, short length) {
    const long error = SetLength(length);
    if (error == ResultCode::NoError && length > 0) {
        Fill(source, bytes, 0, fSize);
    }
    return error;
}

long CTextBlock::SetTo(CTextBlock* other) {
    return SetFrom(other->fHandle, nullptr, static_cast<short>(other->Stored()));
}

long CTextBlock::SetTo(const unsigned char* string) {
    return SetFrom(nullptr, Characters(string), string[0]);
}

long CTextBlock::SetTo(const char* text) {
    return SetFrom(nullptr, text, Measure(text));
}

long CTextBlock::SetTo(const char* bytes, short length) {
    if (length < 0 || (bytes == nullptr && length > 0)) {
        return ResultCode::BadParameter;
    }
    return SetFrom(nullptr, bytes, length);
}

long CTextBlock::SetTo(char** handle) {
    return SetFrom(handle, nullptr, Clamp(SizeIfThere(handle)));
}

long CTextBlock::AppendFrom(Handle source, const char* bytes, long length) {
    const long before = std::max<long>(fSize, 0);
    const long added = std::min<long>(length, MaxLength - before);
    const long error = SetLength(static_cast<short>(before + added));
    if (error == ResultCode::NoError) {
        Fill(source, bytes, before, added);
    }
    return error;
}

long CTextBlock::Append(CTextBlock* other) {
    return AppendFrom(other->fHandle, nullptr, other->Stored());
}

long CTextBlock::Append(const unsigned char (&string)[256]) {
    return AppendFrom(nullptr, Characters(string), string[0]);
}

long CTextBlock::Append(const char* text) {
    return AppendFrom(nullptr, text, std::max<long>(Measure(text), 0));
}

long CTextBlock::Append(const char* bytes, short length) {
    if (length < 0 || bytes == nullptr) {
        return ResultCode::BadParameter;
    }
    return AppendFrom(nullptr, bytes, length);
}

long CTextBlock::Append(char** handle) {
    return AppendFrom(handle, nullptr, SizeIfThere(handle));
}

void CTextBlock::CopyTo(unsigned char* string) const {
    const long length = std::min(Stored(), 255L);
    string[0] = static_cast<unsigned char>(length);
    CopyBytes(string + 1, length);
}

void CTextBlock::CopyTo(char* text) const {
    CopyTo(text, SHRT_MAX); // a host's record may hold more than a text of ours
}

void CTextBlock::CopyTo(char* text, short max) const {
    if (text == nullptr || max < 0) {
        return;
    }
    const long length = std::min<long>(Stored(), max);
    CopyBytes(text, length);
    text[length] = '\0';
}

void CTextBlock::CopyTo(char*** handle) const {
    if (handle == nullptr) {
        return;
    }
    const long length = Stored();
    *handle = NewHandle(length);
    if (*handle != nullptr) {
        CopyBytes(**handle, length);
    }
}

void CTextBlock::CopyTo(void* bytes) const {
    if (bytes != nullptr) {
        CopyBytes(bytes, Stored());
    }
}

void CTextBlock::CopyBytes(void* target, long length) const {
    if (length > 0) {
        BlockMove(*fHandle, target, length);
    }
}

long CTextBlock::Replace(unsigned char* search, const unsigned char (&replacement)[256]) {
    return ReplaceWithBytes(search, Characters(replacement), replacement[0]);
}

long CTextBlock::Replace(unsigned char* search, const char* replacement) {
    return ReplaceWithBytes(search, replacement, Measure(replacement));
}

long CTextBlock::Replace(unsigned char* search, const char* bytes, short length) {
    return ReplaceWithBytes(search, bytes, length);
}

long CTextBlock::ReplaceWithBytes(unsigned char* search, const char* bytes, long length) {
    if (Stored() == 0) {
        return 0;
    }
    if (bytes == nullptr && length > 0) {
        return ResultCode::BadParameter;
    }
    const TemporaryHandle copy(NewHandle(length)); // a negative length cannot be had
    if (copy.Get() == nullptr) {
        return MemError();
    }
    BlockMove(bytes, *copy.Get(), length);
    return Replace(search, copy.Get());
}

long CTextBlock::Replace(unsigned char* search, char** replacement) {
    if (Stored() == 0) {
        return 0;
    }
    const long count = ReplaceTex(fHandle, replacement, search);
    SetLength(Clamp(GetHandleSize(fHandle))); // cut to what a text can hold; none when empty
    return count;
}
