#pragma once

#include "host/boundary/Calls.h"

/// What FourD::Init keeps of the host: written once, before any other call, then only read; and a
/// few facts that come or change later.
struct HostState {
    unsigned long version; ///< first word of the init record; BCD in the low 16 bits
    ClassicCallBack classicCallBack;
    EngineCallBack engineCallBack; ///< null below host version 11.0
    short pluginResID;
    short pluginResFile;       ///< resource file that was current at FourD::Init
    unsigned long programInfo; ///< ProgramInfo bits, as at FourD::Init
    // Native paths, and their specifications. Empty for what the host does not tell, as the
    // structure to a client.
    char structureFolderPath[261];
    char structureFilePath[261];
    FSSpec structureFolder;
    FSSpec structureFile;
    char prefsFolderPath[261];
    FSSpec prefsFolder;
    void** macGlobals; ///< the host's globals; null when it has none
    long startupProcess;
    GrafPort* startupWindow;      ///< frontmost non-floating window of process 1
    unsigned char macEnvironment; ///< 0 after Setup4DEnv, 1 after SetupMacOSEnv
    // Asked for when they are first needed.
    FSSpec dataFile;
    bool dataFileKnown;
    long applicationType = -1; ///< -1 until it is known

    /// Major, then minor and fix digits: 0x1130 is 11.3.
    unsigned short BcdVersion() const { return static_cast<unsigned short>(version); }
    /// Whether the host takes the engine record (11.0 and later).
    bool HasEngine() const { return BcdVersion() >= 0x1100; }
};

/// One per loaded plug-in.
extern HostState gHost;
