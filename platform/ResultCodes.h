#pragma once

#include "platform/Types.h"

// Toolbox-style result codes: signed 16-bit, 0 is success.
namespace ResultCode {
inline constexpr OSErr NoError = 0;
inline constexpr OSErr BadName = -37;
inline constexpr OSErr EndOfData = -39;
inline constexpr OSErr BadPosition = -40;
inline constexpr OSErr FileNotFound = -43;
inline constexpr OSErr BadParameter = -50;
inline constexpr OSErr MemoryFull = -108;
inline constexpr OSErr NullHandle = -109;
inline constexpr OSErr BlockFreed = -111;  ///< handle whose block is gone
inline constexpr OSErr BadZone = -113;     ///< not a handle of this memory manager
inline constexpr OSErr LockedBlock = -117; ///< locked block asked to grow where it stands
inline constexpr OSErr NotAFolder = -120;
inline constexpr OSErr ResourceNotFound = -192;
inline constexpr OSErr ResourceFileNotFound = -193;
} // namespace ResultCode
