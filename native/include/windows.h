#pragma once

// What the sources ask of Windows, in a program for Linux: the native build's stand-in, made of
// native/*.cpp. Layouts, values and conventions are those of Windows, as far as they are used.

#include <cstdarg> // as the system's own header does
#include <cstdint>

#define WINAPI __attribute__((__stdcall__))
#define CALLBACK WINAPI

using BOOL = int;
using BYTE = unsigned char;
using WORD = unsigned short;
using DWORD = unsigned long;
using COLORREF = unsigned long;
using UINT = unsigned;
using LONG = long;
using LONGLONG = long long;
using SIZE_T = unsigned long;
using WCHAR = wchar_t;
using LPCSTR = const char*;
using LPVOID = void*;
using HANDLE = void*;
using HMODULE = struct Module*;
using HINSTANCE = HMODULE;
using FARPROC = int(WINAPI*)();
using LPFIBER_START_ROUTINE = void(WINAPI*)(void*);
static_assert(sizeof(wchar_t) == 2 && sizeof(DWORD) == 4);

constexpr BOOL FALSE = 0;
constexpr BOOL TRUE = 1;
#define MAX_PATH 260

struct FILETIME {
    DWORD dwLowDateTime, dwHighDateTime;
};
struct SYSTEMTIME {
    WORD wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
};
union LARGE_INTEGER {
    LONGLONG QuadPart;
};
struct OVERLAPPED {
    DWORD Internal, InternalHigh, Offset, OffsetHigh;
    HANDLE hEvent;
};
struct WIN32_FILE_ATTRIBUTE_DATA {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime, ftLastAccessTime, ftLastWriteTime;
    DWORD nFileSizeHigh, nFileSizeLow;
};
template <typename Character>
struct FindData {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime, ftLastAccessTime, ftLastWriteTime;
    DWORD nFileSizeHigh, nFileSizeLow, dwReserved0, dwReserved1;
    Character cFileName[MAX_PATH];
    Character cAlternateFileName[14];
};
using WIN32_FIND_DATAA = FindData<char>;
using WIN32_FIND_DATAW = FindData<wchar_t>;
struct BY_HANDLE_FILE_INFORMATION {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime, ftLastAccessTime, ftLastWriteTime;
    DWORD dwVolumeSerialNumber, nFileSizeHigh, nFileSizeLow, nNumberOfLinks, nFileIndexHigh,
        nFileIndexLow;
};
struct MEMORY_BASIC_INFORMATION {
    void* BaseAddress;
    void* AllocationBase;
    DWORD AllocationProtect;
    SIZE_T RegionSize;
    DWORD State, Protect, Type;
};
struct BITMAP {
    LONG bmType, bmWidth, bmHeight, bmWidthBytes;
    WORD bmPlanes, bmBitsPixel;
    void* bmBits;
};
struct IMAGE_DOS_HEADER {
    WORD e_magic;
};
enum GET_FILEEX_INFO_LEVELS { GetFileExInfoStandard };

inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(-1L);
constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;

constexpr DWORD ERROR_SUCCESS = 0, ERROR_FILE_NOT_FOUND = 2, ERROR_PATH_NOT_FOUND = 3,
                ERROR_TOO_MANY_OPEN_FILES = 4, ERROR_ACCESS_DENIED = 5, ERROR_INVALID_HANDLE = 6,
                ERROR_NOT_ENOUGH_MEMORY = 8, ERROR_INVALID_DRIVE = 15, ERROR_NO_MORE_FILES = 18,
                ERROR_WRITE_PROTECT = 19, ERROR_NOT_READY = 21, ERROR_SHARING_VIOLATION = 32,
                ERROR_LOCK_VIOLATION = 33, ERROR_HANDLE_EOF = 38, ERROR_HANDLE_DISK_FULL = 39,
                ERROR_FILE_EXISTS = 80, ERROR_INVALID_PARAMETER = 87, ERROR_DISK_FULL = 112,
                ERROR_INSUFFICIENT_BUFFER = 122, ERROR_INVALID_NAME = 123,
                ERROR_DIR_NOT_EMPTY = 145, ERROR_BAD_PATHNAME = 161, ERROR_ALREADY_EXISTS = 183,
                ERROR_FILENAME_EXCED_RANGE = 206, ERROR_DIRECTORY = 267, ERROR_NOACCESS = 998,
                ERROR_NO_UNICODE_TRANSLATION = 1113, ERROR_INVALID_USER_BUFFER = 1784;

constexpr DWORD GENERIC_READ = 0x80000000, GENERIC_WRITE = 0x40000000, DELETE = 0x10000;
constexpr DWORD FILE_SHARE_READ = 1, FILE_SHARE_WRITE = 2, FILE_SHARE_DELETE = 4;
constexpr DWORD FILE_READ_ATTRIBUTES = 0x80;
constexpr DWORD CREATE_NEW = 1, CREATE_ALWAYS = 2, OPEN_EXISTING = 3, OPEN_ALWAYS = 4;
constexpr DWORD FILE_ATTRIBUTE_READONLY = 1, FILE_ATTRIBUTE_HIDDEN = 2,
                FILE_ATTRIBUTE_DIRECTORY = 0x10, FILE_ATTRIBUTE_NORMAL = 0x80,
                FILE_ATTRIBUTE_REPARSE_POINT = 0x400;
constexpr DWORD FILE_FLAG_DELETE_ON_CLOSE = 0x04000000, FILE_FLAG_BACKUP_SEMANTICS = 0x02000000,
                FILE_FLAG_OPEN_REPARSE_POINT = 0x00200000;
constexpr DWORD FILE_BEGIN = 0, FILE_TYPE_DISK = 1;
constexpr bool IsReparseTagNameSurrogate(DWORD tag) {
    return (tag & 0x20000000) != 0;
}

constexpr UINT CP_ACP = 0, CP_UTF8 = 65001;
constexpr DWORD MB_ERR_INVALID_CHARS = 8;
constexpr DWORD LOCALE_USER_DEFAULT = 0x400, LOCALE_INVARIANT = 0x7F;
constexpr DWORD LCMAP_LOWERCASE = 0x100, LCMAP_UPPERCASE = 0x200, NORM_IGNORECASE = 1;
constexpr int CSTR_LESS_THAN = 1, CSTR_EQUAL = 2, CSTR_GREATER_THAN = 3;
constexpr DWORD CT_CTYPE1 = 1;
constexpr WORD C1_DIGIT = 4, C1_ALPHA = 0x100;

constexpr DWORD MEM_COMMIT = 0x1000, MEM_RESERVE = 0x2000, MEM_RELEASE = 0x8000;
constexpr DWORD PAGE_NOACCESS = 1, PAGE_READONLY = 2, PAGE_READWRITE = 4, PAGE_WRITECOPY = 8,
                PAGE_EXECUTE_READWRITE = 0x40, PAGE_EXECUTE_WRITECOPY = 0x80, PAGE_GUARD = 0x100;
constexpr DWORD EXCEPTION_NONCONTINUABLE = 1;
constexpr DWORD DLL_PROCESS_DETACH = 0, DLL_PROCESS_ATTACH = 1;
constexpr int COLOR_HIGHLIGHT = 13;
constexpr DWORD OBJ_BITMAP = 7;

constexpr BYTE GetRValue(DWORD colour) {
    return static_cast<BYTE>(colour);
}
constexpr BYTE GetGValue(DWORD colour) {
    return static_cast<BYTE>(colour >> 8);
}
constexpr BYTE GetBValue(DWORD colour) {
    return static_cast<BYTE>(colour >> 16);
}

extern "C" {
// Text.cpp. The code page is 1252.
WINAPI int MultiByteToWideChar(UINT page, DWORD flags, const char* text, int length, wchar_t* out,
                               int room);
WINAPI int WideCharToMultiByte(UINT page, DWORD flags, const wchar_t* text, int length, char* out,
                               int room, const char* standIn, BOOL* usedIt);
WINAPI int LCMapStringA(DWORD locale, DWORD flags, const char* text, int length, char* out,
                        int room);
WINAPI int CompareStringA(DWORD locale, DWORD flags, const char* first, int firstLength,
                          const char* second, int secondLength);
WINAPI BOOL GetStringTypeA(DWORD locale, DWORD type, const char* text, int length, WORD* types);
WINAPI UINT GetACP();

// Files.cpp. Files are in memory only: a volume "C:" with the folders "work" and "temp".
WINAPI HANDLE CreateFileA(const char* path, DWORD access, DWORD share, void* security,
                          DWORD disposition, DWORD flags, HANDLE like);
WINAPI HANDLE CreateFileW(const wchar_t* path, DWORD access, DWORD share, void* security,
                          DWORD disposition, DWORD flags, HANDLE like);
WINAPI BOOL CloseHandle(HANDLE file);
WINAPI BOOL ReadFile(HANDLE file, void* bytes, DWORD count, DWORD* done, OVERLAPPED* place);
WINAPI BOOL WriteFile(HANDLE file, const void* bytes, DWORD count, DWORD* done, OVERLAPPED* place);
WINAPI BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER to, LARGE_INTEGER* now, DWORD from);
WINAPI BOOL SetEndOfFile(HANDLE file);
WINAPI BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size);
WINAPI DWORD GetFileType(HANDLE file);
WINAPI BOOL GetFileInformationByHandle(HANDLE file, BY_HANDLE_FILE_INFORMATION* information);
WINAPI BOOL DeleteFileA(const char* path);
WINAPI BOOL DeleteFileW(const wchar_t* path);
WINAPI BOOL MoveFileA(const char* from, const char* to);
WINAPI BOOL CopyFileA(const char* from, const char* to, BOOL failIfExists);
WINAPI BOOL CreateDirectoryA(const char* path, void* security);
WINAPI BOOL CreateDirectoryW(const wchar_t* path, void* security);
WINAPI BOOL RemoveDirectoryA(const char* path);
WINAPI BOOL RemoveDirectoryW(const wchar_t* path);
WINAPI DWORD GetFileAttributesA(const char* path);
WINAPI DWORD GetFileAttributesW(const wchar_t* path);
WINAPI BOOL GetFileAttributesExA(const char* path, GET_FILEEX_INFO_LEVELS level, void* data);
WINAPI BOOL SetFileAttributesA(const char* path, DWORD attributes);
WINAPI BOOL SetFileAttributesW(const wchar_t* path, DWORD attributes);
WINAPI HANDLE FindFirstFileA(const char* pattern, WIN32_FIND_DATAA* found);
WINAPI HANDLE FindFirstFileW(const wchar_t* pattern, WIN32_FIND_DATAW* found);
WINAPI BOOL FindNextFileA(HANDLE search, WIN32_FIND_DATAA* found);
WINAPI BOOL FindNextFileW(HANDLE search, WIN32_FIND_DATAW* found);
WINAPI BOOL FindClose(HANDLE search);
WINAPI DWORD GetTempPathA(DWORD room, char* out);
WINAPI DWORD GetTempPathW(DWORD room, wchar_t* out);
WINAPI DWORD GetCurrentDirectoryA(DWORD room, char* out);
WINAPI DWORD GetLongPathNameA(const char* path, char* out, DWORD room);
WINAPI DWORD GetLongPathNameW(const wchar_t* path, wchar_t* out, DWORD room);
WINAPI DWORD GetShortPathNameA(const char* path, char* out, DWORD room);
WINAPI DWORD GetShortPathNameW(const wchar_t* path, wchar_t* out, DWORD room);
WINAPI DWORD QueryDosDeviceA(const char* name, char* out, DWORD room);
WINAPI BOOL FileTimeToLocalFileTime(const FILETIME* time, FILETIME* local);

// System.cpp. There is one module, the program; what is looked up by name is found in it. Fibers
// are told to the sanitizer.
WINAPI HMODULE GetModuleHandleA(const char* name);
WINAPI FARPROC GetProcAddress(HMODULE library, const char* name);
WINAPI DWORD GetModuleFileNameA(HMODULE library, char* out, DWORD room);
WINAPI HMODULE LoadLibraryW(const wchar_t* name);
WINAPI DWORD GetLastError();
WINAPI void SetLastError(DWORD error);
WINAPI DWORD GetCurrentThreadId();
WINAPI DWORD GetCurrentProcessId();
WINAPI HANDLE GetCurrentProcess();
WINAPI BOOL TerminateProcess(HANDLE process, UINT code);
WINAPI void RaiseException(DWORD code, DWORD flags, DWORD count, const DWORD* arguments);
WINAPI void OutputDebugStringA(const char* text);
WINAPI DWORD GetTickCount();
WINAPI void GetSystemTime(SYSTEMTIME* time);
WINAPI DWORD GetSysColor(int index);
WINAPI void* CreateBitmap(int width, int height, UINT planes, UINT depth, const void* bits);
WINAPI int GetObjectA(void* object, int size, void* facts); ///< of a bitmap: its dimensions
WINAPI DWORD GetObjectType(void* object);
WINAPI BOOL DeleteObject(void* object);
WINAPI void* VirtualAlloc(void* address, SIZE_T size, DWORD kind, DWORD protection);
WINAPI BOOL VirtualFree(void* address, SIZE_T size, DWORD kind);
WINAPI BOOL VirtualProtect(void* address, SIZE_T size, DWORD protection, DWORD* former);
WINAPI SIZE_T VirtualQuery(const void* address, MEMORY_BASIC_INFORMATION* region, SIZE_T size);
WINAPI void* ConvertThreadToFiber(void* parameter);
WINAPI void* CreateFiberEx(SIZE_T committed, SIZE_T size, DWORD flags, LPFIBER_START_ROUTINE body,
                           void* parameter);
WINAPI void SwitchToFiber(void* fiber);
WINAPI void DeleteFiber(void* fiber);
}
