#pragma once

#include <cstddef>
#include <cstdint>

// How a recording lies in its file: first a text for whoever opens it, which says what it holds and
// ends with a byte 0x1A; then chunks, one behind the other without gaps. Numbers are little-endian.
// A chunk is written in one piece: what a file that was cut off still has is whole up to its last.

namespace Recording {

/// What a recording begins with; the number is the format's. Behind it stand lines "Name: value".
inline constexpr char FirstLine[] = "Nimbo recording 1\r\n";
/// What ends the text.
inline constexpr unsigned char EndOfText = 0x1A;
/// What the name of a recording's file ends with.
inline constexpr char Extension[] = ".recording";

/// What a chunk holds.
enum class Chunk : std::uint8_t {
    Command = 1,     ///< a CommandHead, then name and usage of one of the plug-in's commands
    EntryBegins = 2, ///< the host calls a function of the plug-in: a CrossingHead, root, items
    EntryEnds = 3,   ///< and is back
    CallBegins = 4,  ///< the plug-in calls the host
    CallEnds = 5,    ///< and is back
    Note = 6,        ///< a text in UTF-8: something that the recorder has to say
    End = 7,         ///< the same, and it is the last chunk
    Changed = 8, ///< as CallEnds, with number 0: what an earlier call answered leads to this now
};

/// Which function is called.
enum class Way : std::uint8_t {
    Classic = 0,      ///< of the host: the classic call-back
    Engine = 1,       ///< the engine call-back
    Pack = 2,         ///< of the plug-in: FourDPack
    PackEx = 3,       ///< FourDPackex
    Process = 4,      ///< the function of a process that the plug-in started
    MainThread = 5,   ///< the function of ExecuteOnMainThread
    DialogFilter = 6, ///< a dialog's filter
    AreaHandler = 7,  ///< the handler of an area in a dialog
};

/// What an address leads to.
enum class Target : std::uint8_t {
    Memory = 1,     ///< bytes
    Handle = 2,     ///< a handle of the toolbox
    HostHandle = 3, ///< one of the host's own
    Code = 4,       ///< a function
    Thing = 5,      ///< whatever the host knows by this word: a dialog, a picture
    Token = 6,      ///< whatever the plug-in knows by this word, and has the host keep
};

/// How what is there is to be read.
enum class Form : std::uint8_t {
    None = 0,
    Bytes = 1,
    PascalString = 2, ///< 256 bytes, of which the length and the characters count
    Units = 3,        ///< UTF-16; up to a zero when it stands by itself
    Event = 4,        ///< EventRecord
    AreaEvent = 5,    ///< the same, its message as areas have it
    Rect = 6,
    Value = 7,       ///< ValueBlock
    AreaInit = 8,    ///< AreaInitBlock
    Init = 9,        ///< PackInitBlock
    Request = 10,    ///< ReadWriteBlock
    TextEdit = 11,   ///< TERec
    Window = 12,     ///< GrafPort
    Elements = 13,   ///< of an array; `detail`: the array's type code
    Parameters = 14, ///< the array of a command's parameters
    Parameter = 15,  ///< a parameter's storage; `detail`: its ValueKind
    Result = 16,     ///< a command's result cell; `detail`: the ValueKind
    Word = 17,       ///< 4 bytes that are themselves an address or a token
    Target = 18,     ///< what a pointer leads to; `detail`: the ValueKind
    CString = 19,    ///< zero-terminated
    Globals = 20,    ///< 32 words; the twelfth leads to the word that leads to the front window
};

#pragma pack(push, 1)

struct ChunkHead {
    std::uint32_t size; ///< bytes behind this head
    Chunk chunk;
    Way way;             ///< of a crossing
    std::uint16_t items; ///< of a crossing
};

struct CommandHead {
    std::int32_t number;
    std::uint16_t nameSize; ///< bytes; the texts are in the ANSI code page
    std::uint16_t usageSize;
};

/// What happens. The root is what is handed over: a call record, or the words with which a function
/// of the plug-in is called (FourDPack: selector, params, data, result).
struct CrossingHead {
    std::uint32_t number;       ///< from 1; beginning and end of a crossing have the same
    std::int32_t selector;      ///< 0 for a function that has none
    std::uint64_t microseconds; ///< since the recording began
    std::uint32_t thread;
    std::uint32_t stackBase; ///< of the stack on which it happens: that of a process
    std::uint32_t stack;     ///< how far that is in use: what stands below was left
    std::int32_t returned;   ///< of an end: what the call-back returned
    std::uint32_t function;  ///< of the plug-in, for ways without a selector
    std::uint32_t rootSize;  ///< bytes
};

/// What an address in the root, or in another item, leads to. A word that leads to bytes and is
/// known by itself, too, has two items.
struct ItemHead {
    std::uint16_t parent; ///< 0: the root; n: the n-th item of the crossing, from 1
    Target target;
    Form form;
    std::uint32_t offset; ///< of the address in the parent
    std::uint32_t address;
    std::uint32_t size;   ///< bytes that are there, or UnknownSize
    std::uint32_t stored; ///< how many of them follow
    std::uint8_t detail;  ///< see Form
    std::uint8_t isSlot;  ///< 1: they are yet to be filled; of a value the type counts
};

#pragma pack(pop)

static_assert(sizeof(ChunkHead) == 8 && sizeof(CommandHead) == 8);
static_assert(sizeof(CrossingHead) == 40 && offsetof(CrossingHead, microseconds) == 8 &&
              offsetof(CrossingHead, thread) == 16 && offsetof(CrossingHead, rootSize) == 36);
static_assert(sizeof(ItemHead) == 22 && offsetof(ItemHead, offset) == 4 &&
              offsetof(ItemHead, detail) == 20);

/// The size of what nobody could tell the size of; nothing of it is stored.
inline constexpr std::uint32_t UnknownSize = 0xFFFFFFFF;

/// Most bytes that a recorder stores of one item unless told otherwise, items of one crossing,
/// and bytes of a root that anybody believes.
inline constexpr std::uint32_t ItemLimit = 64 * 1024;
inline constexpr std::uint16_t MostItems = 16000;
inline constexpr std::uint32_t MostRootBytes = 4096;
} // namespace Recording
