#pragma once

#include "platform/Types.h"

#include <cstddef>

class CXParam;
class CXResult;

/// A command's body: the host's parameter array and result cell.
using CommandHandler = void (*)(CXParam* params, CXResult* result);

/// One command. The dispatcher reads the handler only; name and usage are for people and tools.
struct CommandEntry {
    const char* name;
    /// Parameters and result by their kinds, as in "(text; &long count) -> long": "&" marks what
    /// the command may change, words behind a kind are for people. "area" is the handler of an
    /// external area. Null or empty: nothing is said.
    const char* usage;
    CommandHandler handler; ///< null: the command does nothing
};

/// Static description of a plug-in, one per library, written by its author. A library hands it out
/// through the export FourDPlugInfo; hosts do not ask for it.
struct PlugInfo {
    short reserved;          ///< 0
    short recordVersion;     ///< 1
    long recordSize;         ///< sizeof(PlugInfo)
    const char* productName; ///< short product name, zero-terminated
    OSType creator;          ///< the plug-in's signature
    unsigned long version;   ///< toolbox packed version: 0x01108000 is 1.1 final
    short resourceID;        ///< set by FourDPlug::Init
    short resourceFile;      ///< set by FourDPlug::Init
    short spare;
    unsigned short commandCount;  ///< commands run from 1 to this number
    const CommandEntry* commands; ///< entry n - 1 describes command n; may be null
};

static_assert(sizeof(CommandEntry) == 12 && offsetof(CommandEntry, usage) == 4 &&
              offsetof(CommandEntry, handler) == 8);
static_assert(sizeof(PlugInfo) == 32);
static_assert(offsetof(PlugInfo, recordVersion) == 2 && offsetof(PlugInfo, recordSize) == 4 &&
              offsetof(PlugInfo, productName) == 8 && offsetof(PlugInfo, creator) == 12 &&
              offsetof(PlugInfo, version) == 16 && offsetof(PlugInfo, resourceID) == 20 &&
              offsetof(PlugInfo, resourceFile) == 22 && offsetof(PlugInfo, commandCount) == 26 &&
              offsetof(PlugInfo, commands) == 28);
