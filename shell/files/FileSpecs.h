#pragma once

#include "platform/Types.h"
#include "shell/files/NativePaths.h"

class CTextBlock;
struct FInfo;

// File specifications (`spec`, `out`) and their native paths. Names in a specification are in the
// host's Macintosh character set, native paths in the system's ANSI code page; a folder's path ends
// with a backslash.
//
// Result codes are 16-bit: 0; -43 does not exist, with the specification filled all the same; -50
// bad argument (null, empty, a path of 256 characters and more); -35 no such volume; -120 not a
// folder; -108 no memory; others as they come from the toolbox or as GetLastOSErr() maps them. A
// specification to be filled is emptied (volume, parent and name length 0) first.

/// Volume, parent and name length 0. Null is ignored.
void ZeroFileSpec(FSSpec* spec);
/// Whether it is so. Elsewhere such a specification stands for the current folder.
bool IsEmptyFileSpec(const FSSpec& spec);

// --- Native paths ---------------------------------------------------------------------------

/// Specification of a native path of `length` characters, which may be relative and need not
/// exist. For one that exists it is made from the short (8.3) form.
OSErr NativePathToFileSpec(const char* path, long length, FSSpec* spec);
/// Long native path of a specification whose item need not exist. `length` says how many characters
/// `out` holds and receives how many the path has; when it is null, or holds less than 1, the whole
/// path is copied. `out` may be null; no terminator is written. So a null `out` and a length of 0
/// ask for the length. A missing item has the result of asking for its folder, mostly 0; when that
/// is no folder either, `length` is left alone.
OSErr FileSpecToNativePath(const FSSpec* spec, char* out, long* length);
/// The same path as a whole; empty where FileSpecToNativePath leaves `length` alone.
OSErr ReadNativePath(const FSSpec* spec, NativePath* path);
/// The same as FileSpecToNativePath, `out` and `length` too.
OSErr XFileSpecToNativePath(const FSSpec* spec, char* out, long* length);

/// @family The same conversions with the path in a text block, `text`, in the host's character set.
OSErr CTextBlockToFileSpec(CTextBlock* text, FSSpec* spec);
OSErr FileSpecToCTextBlock(const FSSpec* spec, CTextBlock* text);
OSErr XFileSpecToCTextBlock(const FSSpec* spec, CTextBlock* text);

// --- Names, folders, information ------------------------------------------------------------

/// The name as it stands: up to 63 characters, so 64 bytes.
void GetFileSpecName(const FSSpec* spec, unsigned char* name);
/// The same `name` with a terminator.
void GetFileSpecNameC(const FSSpec* spec, char* name);

/// Stores 1 in `isFolder` for a folder, else 0. Answers the catalogue's result code.
OSErr IsFolder(const FSSpec* spec, unsigned char* isFolder);
/// Whether it is a folder. Here the name is in the ANSI code page.
bool IsFolderSpec(const FSSpec* spec);
/// Finder information in `info`; a folder gets the type 'fold' and nothing else.
OSErr GetFileSpecInfo(FSSpec* spec, FInfo* info);

/// Turns a folder's specification into the one of its inside: the folder as parent, no name. On
/// an error it stays as it was.
OSErr GoInsideFolder(FSSpec* spec);
/// The same for a name in the ANSI code page.
OSErr GoInsideFolderSpec(FSSpec* spec);
/// Specification of the folder that holds the item; a root is its own. Without memory for the path
/// the result can be 0 with `parent` as it was.
OSErr GetParentFolderSpec(const FSSpec* spec, FSSpec* parent);
/// Specification of a name (Pascal string) in a folder.
OSErr MakeFSSpecInFolder(const FSSpec* folder, const unsigned char* name, FSSpec* out);

// --- Toolbox paths --------------------------------------------------------------------------
// The toolbox's own full paths, in neither short nor long form in particular. It takes them in the
// host's character set, and gives them with the folders in the ANSI code page and the name as it
// stood. So a path with characters beyond ASCII by which nothing is found is tried in the other set
// as well, and with only its folders in that.

/// FSMakeFSSpec of a `path` (Pascal string) in either character set, with the numbers of a `volume`
/// and `directory` as it takes them.
OSErr MakeSpecOfPath(short volume, long directory, const unsigned char* path, FSSpec* spec);
/// The same by volume, directory and name or path, made once more from its own full path, which
/// stops at 255 characters.
OSErr ASI_FSMakeFSSpec(short volume, long directory, const unsigned char* name, FSSpec* spec);
/// Path with a terminator; `path` holds LongestPath + 1 bytes.
OSErr ASI_FSSpecToPath(const FSSpec* spec, char* path);
/// Specification of a full `path` of `length` characters; -35 when it is longer than 255.
OSErr P_FSpLocationFromFullPath(short length, const void* path, FSSpec* spec);
/// `path` into a platform handle, resized, or made when null, which is the caller's. 0 in `length`
/// on an error.
OSErr P_FSpGetFullPath(const FSSpec* spec, short* length, Handle* path);
/// @family The same with text blocks: -35 for an empty or null `text`; an error leaves the text
/// empty.
OSErr CTextBlockToFSSpec(CTextBlock* text, FSSpec* spec);
OSErr FSSpecToCTextBlock(const FSSpec* spec, CTextBlock* text);
