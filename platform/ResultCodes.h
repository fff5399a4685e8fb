#pragma once

#include "platform/Types.h"

/// Toolbox-style result codes: signed 16-bit, 0 is success.
namespace ResultCode {
inline constexpr OSErr NoError = 0;
inline constexpr OSErr DiskFull = -34;
inline constexpr OSErr VolumeNotFound = -35;
inline constexpr OSErr InputOutput = -36;
inline constexpr OSErr BadName = -37;
inline constexpr OSErr EndOfData = -39;
inline constexpr OSErr BadPosition = -40;
inline constexpr OSErr TooManyFiles = -42;
inline constexpr OSErr FileNotFound = -43;
inline constexpr OSErr DiskLocked = -44; ///< the medium cannot be written
inline constexpr OSErr FileLocked = -45;
inline constexpr OSErr FileBusy = -47;
inline constexpr OSErr DuplicateName = -48;
inline constexpr OSErr OpenForWriting = -49; ///< the file is open for writing already
inline constexpr OSErr BadParameter = -50;
inline constexpr OSErr BadFileNumber = -51; ///< reference number of no open file
inline constexpr OSErr NoPermission = -54;  ///< to open the file in this way
inline constexpr OSErr NoWritePermission = -61;
inline constexpr OSErr MemoryFull = -108;
inline constexpr OSErr NullHandle = -109;
inline constexpr OSErr BlockFreed = -111;  ///< handle whose block is gone
inline constexpr OSErr BadZone = -113;     ///< not a handle of this memory manager
inline constexpr OSErr LockedBlock = -117; ///< locked block asked to grow where it stands
inline constexpr OSErr NotAFolder = -120;  ///< a folder of the path or the identifier is missing
inline constexpr OSErr ResourceNotFound = -192;
inline constexpr OSErr ResourceFileNotFound = -193;
inline constexpr OSErr PictureDataFailed = -8960;     ///< the host has no data for a picture
inline constexpr OSErr UnsupportedConversion = -1999; ///< a value of this type is none of that
inline constexpr OSErr NoServerAnswer = -10003;       ///< a server call's read gave no handle
inline constexpr OSErr BadServerAnswer = -10033;      ///< a call identifier is not 4 bytes long
} // namespace ResultCode
